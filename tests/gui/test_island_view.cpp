#include "platform/fake/VirtualClock.h"
#include "toast/IslandLayout.h"
#include "toast/gui/DynamicIslandToastHost.h"
#include "toast/gui/QtToastPanel.h"
#include "ui/ThumbnailCache.h"

#include <QCoreApplication>
#include <QFontMetricsF>
#include <QImage>
#include <QMouseEvent>
#include <QPainter>

#include <gtest/gtest.h>

using namespace dowsel;

namespace {

constexpr int panelWidth = 820;
constexpr int panelHeight = 144;
constexpr double inset = 14;

class NoThumbnails final : public ThumbnailLoader {
public:
    void load(const QByteArray &, double, std::function<void(QImage)> done) override { done(QImage()); }
};

ToastFileItem item(const QString &id, const QString &name)
{
    return {id, name, QStringLiteral("1 MB"), QStringLiteral("/home/u/Downloads/") + name, 1};
}

ToastViewInput input(DynamicIslandToastState state, Date deadline, int files = 1)
{
    ToastViewInput in;
    for (int i = 0; i < files; ++i)
        in.files.push_back(item(QString::number(i + 1), QStringLiteral("report %1.pdf").arg(i + 1)));
    in.countdownDeadline = deadline;
    in.countdownDuration = 7;
    in.topInset = inset;
    in.state = state;
    return in;
}

QImage render(QWidget &widget)
{
    QImage image(widget.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    widget.render(&painter, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

bool isBlack(QColor color)
{
    return color.alpha() == 255 && color.red() < 10 && color.green() < 10 && color.blue() < 10;
}

bool isGreen(QColor color)
{
    return color.alpha() > 200 && color.green() > 150 && color.red() < 120;
}

struct IslandFixture : ::testing::Test {
    VirtualClock clock{10'000};
    NoThumbnails loader;
    ThumbnailCache cache{loader};
    DynamicIslandToastView view;

    IslandFixture() { view.resize(panelWidth, panelHeight); }

    void show(ToastViewInput in, double expansion, double swap = 0)
    {
        DynamicIslandToastView::Frame frame;
        frame.ringProgress = island::ringProgress(in.countdownDeadline, in.countdownDuration, in.pausedProgress,
                                                  clock.now());
        frame.input = std::move(in);
        frame.expansion = expansion;
        frame.optionSwap = swap;
        view.setFrame(frame);
    }

    // The island's left edge, and the ring's centre, in widget coordinates.
    static double islandLeft() { return (panelWidth - island::width) / 2; }
    static QPointF ringCentre()
    {
        return {islandLeft() + island::width - island::trailingInset - island::ringSize / 2,
                inset + 8 + island::thumbnailSize / 2};
    }

    void click(QPointF at)
    {
        QMouseEvent move(QEvent::MouseMove, at, at, Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QMouseEvent press(QEvent::MouseButtonPress, at, at, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QMouseEvent release(QEvent::MouseButtonRelease, at, at, Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&view, &move);
        QCoreApplication::sendEvent(&view, &press);
        QCoreApplication::sendEvent(&view, &release);
    }
};

TEST_F(IslandFixture, ExpandedIslandIsANotchShapedBlackIslandAtTheTopCentre)
{
    show(input(DynamicIslandToastState::visible, clock.now() + 7), 1);
    const QImage image = render(view);
    const double left = islandLeft();
    const double bottom = island::height(inset);
    EXPECT_TRUE(isBlack(image.pixelColor(int(left + 40), int(bottom - 3)))) << "lower edge";
    EXPECT_TRUE(isBlack(image.pixelColor(int(left + 9), 0))) << "the top edge runs the full width";
    EXPECT_EQ(image.pixelColor(int(left + 2), 8).alpha(), 0) << "concave curve under the top corner";
    EXPECT_EQ(image.pixelColor(int(left + 12), int(bottom - 2)).alpha(), 0) << "rounded bottom corner";
    EXPECT_EQ(image.pixelColor(int(left - 20), 20).alpha(), 0) << "left of the island";
    EXPECT_EQ(image.pixelColor(panelWidth / 2, int(bottom + 4)).alpha(), 0) << "below the island";
}

TEST_F(IslandFixture, CollapsedIslandVanishesWithoutANotchAndStaysAPillWithOne)
{
    show(input(DynamicIslandToastState::hidden, clock.now() + 7), 0);
    const QImage empty = render(view);
    for (int x = 0; x < panelWidth; x += 7)
        ASSERT_EQ(empty.pixelColor(x, 2).alpha(), 0) << x;

    ToastViewInput notched = input(DynamicIslandToastState::hidden, clock.now() + 7);
    notched.hasNotch = true;
    show(notched, 0);
    const QImage pill = render(view);
    EXPECT_TRUE(isBlack(pill.pixelColor(panelWidth / 2, 2)));
    EXPECT_TRUE(isBlack(pill.pixelColor(panelWidth / 2 - 60, 0)));
    EXPECT_EQ(pill.pixelColor(panelWidth / 2 - 80, 2).alpha(), 0) << "140 points wide";
    EXPECT_EQ(pill.pixelColor(panelWidth / 2, 20).alpha(), 0) << "0.15 of the height";
}

TEST_F(IslandFixture, RingRunsClockwiseFromTheTopAndShowsOnlyItsTrackWhenDone)
{
    ToastViewInput paused = input(DynamicIslandToastState::visible, clock.now() - 30);
    paused.pausedProgress = 0.5;
    show(paused, 1);
    QImage image = render(view);
    const QPointF centre = ringCentre();
    const double radius = island::ringSize / 2 - 1.75;
    EXPECT_TRUE(isGreen(image.pixelColor(int(centre.x() + radius), int(centre.y())))) << "right half drawn";
    EXPECT_FALSE(isGreen(image.pixelColor(int(centre.x() - radius), int(centre.y())))) << "left half still to go";

    show(input(DynamicIslandToastState::visible, clock.now() - 1), 1);
    image = render(view);
    EXPECT_FALSE(isGreen(image.pixelColor(int(centre.x() + radius), int(centre.y()))));
    EXPECT_FALSE(isGreen(image.pixelColor(int(centre.x()), int(centre.y() + radius))));
    const QColor track = image.pixelColor(int(centre.x() - radius), int(centre.y()));
    EXPECT_GT(track.red(), 20) << "the faint track is still there";
}

TEST_F(IslandFixture, BadgesActOnClickAndAltSwapsOnlyTheFirst)
{
    std::vector<QString> calls;
    view.actions.onMarkTemporary = [&] { calls.push_back(QStringLiteral("temporary")); };
    view.actions.onCustomTime = [&] { calls.push_back(QStringLiteral("custom")); };
    view.actions.onMove = [&] { calls.push_back(QStringLiteral("move")); };
    view.actions.onMore = [&] { calls.push_back(QStringLiteral("more")); };
    std::vector<bool> hovers;
    view.actions.onHoverChanged = [&](bool hovering) { hovers.push_back(hovering); };

    show(input(DynamicIslandToastState::visible, clock.now() + 7), 1);
    const QImage plain = render(view);
    // The badges' row: below the name, right of the thumbnail.
    const double rowY = inset + 8 + (island::thumbnailSize + 26) / 2 - 2;
    const double firstX = islandLeft() + island::leadingInset + island::thumbnailSize + island::spacing + 20;
    click(QPointF(firstX, rowY));
    ToastViewInput held = input(DynamicIslandToastState::visible, clock.now() + 7);
    held.isOptionHeld = true;
    show(held, 1, 1);
    click(QPointF(firstX, rowY));
    EXPECT_EQ(calls, (std::vector<QString>{QStringLiteral("temporary"), QStringLiteral("custom")}));
    EXPECT_EQ(hovers, (std::vector<bool>{true}));

    const QImage swapped = render(view);
    const QRect nameAndThumbnail(int(islandLeft()), 0, int(island::leadingInset + island::thumbnailSize + 200),
                                 int(rowY - 12));
    EXPECT_EQ(plain.copy(nameAndThumbnail), swapped.copy(nameAndThumbnail)) << "only the badge row changes";
    EXPECT_NE(plain, swapped);

    click(QPointF(20, 20)); // outside the island: not hovering, nothing happens
    EXPECT_EQ(hovers, (std::vector<bool>{true, false}));
    EXPECT_EQ(calls.size(), 2u);
}

TEST_F(IslandFixture, BadgeRowEndsBeforeTheRingWithAltOrWithout)
{
    // The Linux key caps ("Super", "Alt") make the badges long; they must stay clear of the
    // ring and of the spacing before it, with the wider custom-time badge too.
    const double ringLeft = ringCentre().x() - island::ringSize / 2;
    const QRect clearBand(int(ringLeft - island::spacing - 12), int(inset + 8), int(island::spacing + 12) - 1,
                          int(island::thumbnailSize));
    for (const bool held : {false, true}) {
        ToastViewInput in = input(DynamicIslandToastState::visible, clock.now() + 7);
        in.isOptionHeld = held;
        show(in, 1, held ? 1 : 0);
        const QImage image = render(view);
        for (int y = clearBand.top(); y <= clearBand.bottom(); ++y) {
            for (int x = clearBand.left(); x <= clearBand.right(); ++x)
                ASSERT_TRUE(isBlack(image.pixelColor(x, y))) << "Alt held: " << held << " at " << x << "," << y;
        }
    }
}

TEST_F(IslandFixture, WhereTheKeysDoNotReachDowselTheBadgesShowNone)
{
    // The right end of what is drawn left of the ring, in the band of the badges.
    const double ringLeft = ringCentre().x() - island::ringSize / 2;
    const auto rowEnd = [&](bool showsKeys) {
        ToastViewInput in = input(DynamicIslandToastState::visible, clock.now() + 7);
        in.showsKeys = showsKeys;
        show(in, 1);
        const QImage image = render(view);
        int end = 0;
        for (int y = int(inset + 8); y < int(inset + 8 + island::thumbnailSize); ++y) {
            for (int x = int(islandLeft() + island::leadingInset + island::thumbnailSize); x < int(ringLeft) - 4; ++x)
                end = isBlack(image.pixelColor(x, y)) ? end : std::max(end, x);
        }
        return end;
    };
    const int withKeys = rowEnd(true);
    const int withoutKeys = rowEnd(false);
    // Nine key caps ("Super", "Shift" and a key, three times over) take well over 100 px.
    EXPECT_LT(withoutKeys, withKeys - 100) << "with keys the row ends at " << withKeys << ", without at " << withoutKeys;
    EXPECT_GT(withoutKeys, int(islandLeft() + 150)) << "the badges themselves stay";
}

TEST_F(IslandFixture, ACopyGetsALineUnderTheNameWithItsOwnBadge)
{
    std::vector<QString> calls;
    view.actions.onMarkTemporary = [&] { calls.push_back(QStringLiteral("temporary")); };
    view.actions.onMore = [&] { calls.push_back(QStringLiteral("more")); };
    view.actions.onTrashCopies = [&] { calls.push_back(QStringLiteral("trash copies")); };

    // Where the caption's badge ends: at the right end of the line under the name.
    QFont nameFont;
    nameFont.setPixelSize(15);
    nameFont.setWeight(QFont::DemiBold);
    const double nameHeight = QFontMetricsF(nameFont).height();
    const double blockTop = inset + 8 + (island::thumbnailSize - nameHeight - 17 - 6 - 20) / 2;
    const QPointF onCaptionBadge(ringCentre().x() - island::ringSize / 2 - island::spacing - 12 - 8,
                                 blockTop + nameHeight + 1 + 8);

    ToastViewInput plain = input(DynamicIslandToastState::visible, clock.now() + 7);
    plain.files[0].site = QStringLiteral("github.com");
    show(plain, 1);
    const QImage siteOnly = render(view);
    click(onCaptionBadge);
    EXPECT_TRUE(calls.empty()) << "no copy, no badge";

    ToastViewInput copy = plain;
    copy.files[0].sameAs = QStringLiteral("report.pdf");
    show(copy, 1);
    const QImage withCopy = render(view);
    click(onCaptionBadge);
    EXPECT_EQ(calls, std::vector<QString>{QStringLiteral("trash copies")});

    const QRect badgeArea(int(onCaptionBadge.x()) - 60, int(onCaptionBadge.y()) - 6, 60, 12);
    EXPECT_NE(siteOnly.copy(badgeArea), withCopy.copy(badgeArea)) << "the badge is drawn";
    // Everything stays clear of the ring and inside the island.
    const double ringLeft = ringCentre().x() - island::ringSize / 2;
    for (int y = int(inset + 8); y < int(inset + 8 + island::thumbnailSize); ++y) {
        for (int x = int(ringLeft - island::spacing - 11); x < int(ringLeft - 1); ++x)
            ASSERT_TRUE(isBlack(withCopy.pixelColor(x, y))) << x << "," << y;
    }
    const int bottom = int(island::height(inset)) - 3;
    for (int x = int(islandLeft() + 40); x < int(islandLeft() + island::width - 40); ++x)
        ASSERT_TRUE(isBlack(withCopy.pixelColor(x, bottom))) << "at the island's bottom, x=" << x;
}

struct HostFixture : IslandFixture {
    DynamicIslandToastHost host{clock, cache};
    HostFixture() { host.resize(panelWidth, panelHeight); }

    double bumpAfter(double seconds)
    {
        host.advance(seconds);
        return host.view().frame().bumpScale;
    }
};

TEST_F(HostFixture, SpringsOpenTheIslandAndANewFrontFileBumpsItOnlyWhenOpen)
{
    host.setInput(input(DynamicIslandToastState::hidden, clock.now() + 7));
    EXPECT_EQ(host.view().frame().expansion, 0);
    host.setInput(input(DynamicIslandToastState::visible, clock.now() + 7));
    for (int i = 0; i < 120; ++i)
        host.advance(1.0 / 60);
    EXPECT_DOUBLE_EQ(host.view().frame().expansion, 1);
    EXPECT_EQ(host.contentKey(), QStringLiteral("1"));

    ToastViewInput second = input(DynamicIslandToastState::visible, clock.now() + 7, 2);
    std::swap(second.files[0], second.files[1]);
    host.setInput(second);
    EXPECT_GT(bumpAfter(0.1), 1.0);
    EXPECT_EQ(host.contentKey(), QStringLiteral("2"));

    DynamicIslandToastHost closed{clock, cache};
    closed.setInput(input(DynamicIslandToastState::hidden, clock.now() + 7));
    ToastViewInput other = input(DynamicIslandToastState::hidden, clock.now() + 7);
    other.files[0].id = QStringLiteral("9");
    closed.setInput(other);
    closed.advance(0.1);
    EXPECT_EQ(closed.view().frame().bumpScale, 1.0);
    EXPECT_EQ(closed.contentKey(), QStringLiteral("9"));
}

TEST_F(HostFixture, NothingRunsWhileTheIslandIsNotShown)
{
    host.setInput(input(DynamicIslandToastState::visible, clock.now() + 7));
    EXPECT_FALSE(host.isAnimating()) << "not on screen";
    host.show();
    EXPECT_TRUE(host.isAnimating());
    host.hide();
    EXPECT_FALSE(host.isAnimating());
}

TEST_F(HostFixture, AltSwapEasesOverAFewFrames)
{
    host.setInput(input(DynamicIslandToastState::visible, clock.now() + 7));
    ToastViewInput held = input(DynamicIslandToastState::visible, clock.now() + 7);
    held.isOptionHeld = true;
    host.setInput(held);
    host.advance(0.06);
    const double midway = host.view().frame().optionSwap;
    EXPECT_GT(midway, 0.2);
    EXPECT_LT(midway, 0.8);
    host.advance(0.07);
    EXPECT_EQ(host.view().frame().optionSwap, 1.0);
}

TEST_F(HostFixture, WhileOnlyTheRingRunsFramesComeAboutOncePerPixelOfArc)
{
    host.show();
    host.setInput(input(DynamicIslandToastState::visible, clock.now() + 7));
    EXPECT_EQ(host.frameInterval(), 16) << "the island springs open at full rate";
    for (int i = 0; i < 120; ++i)
        host.advance(1.0 / 60);
    ASSERT_EQ(host.view().frame().expansion, 1);
    // A 26-point ring's arc moves by a pixel every 7 s / (26 π) ≈ 86 ms.
    EXPECT_GE(host.frameInterval(), 60);
    EXPECT_LE(host.frameInterval(), 120);
    ToastViewInput held = input(DynamicIslandToastState::visible, clock.now() + 7);
    held.isOptionHeld = true;
    host.setInput(held);
    EXPECT_EQ(host.frameInterval(), 16) << "the Alt swap eases at full rate";
}

TEST_F(IslandFixture, ToastPanelOrdersInAndOut)
{
    QtToastPanel panel(clock, cache);
    panel.resize(panelWidth, panelHeight);
    EXPECT_FALSE(panel.isOnScreen());
    panel.orderIn(false);
    EXPECT_TRUE(panel.isOnScreen());
    panel.render(input(DynamicIslandToastState::visible, clock.now() + 7));
    EXPECT_TRUE(panel.host().isAnimating());
    panel.fadeOut(0.2);
    panel.orderOut();
    EXPECT_FALSE(panel.isOnScreen());
    EXPECT_FALSE(panel.host().isAnimating());
    EXPECT_EQ(panel.windowOpacity(), 1.0);
}

} // namespace
