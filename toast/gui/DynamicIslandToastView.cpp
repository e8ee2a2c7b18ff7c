#include "toast/gui/DynamicIslandToastView.h"

#include "toast/IslandLayout.h"
#include "ui/FileThumbnailView.h"

#include <QFontMetricsF>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace dowsel {

namespace {

struct BadgeContent {
    QStringList keys;
    QString label;
};

// Linux key names, the same on every badge and in the settings, or none where the keys do not
// reach Dowsel; the labels in the user's language.
QStringList keys(std::initializer_list<const char *> names)
{
    QStringList result;
    for (const char *name : names)
        result << QString::fromUtf8(name);
    return result;
}
BadgeContent markTemporaryBadge(bool withKeys)
{
    return {withKeys ? keys({"Super", "Shift", "T"}) : QStringList(), DynamicIslandToastView::tr("Mark temporary")};
}
BadgeContent customTimeBadge(bool withKeys)
{
    return {withKeys ? keys({"Super", "Shift", "Alt", "T"}) : QStringList(), DynamicIslandToastView::tr("Custom time…")};
}
BadgeContent moveBadgeContent(bool withKeys)
{
    return {withKeys ? keys({"Super", "Shift", "M"}) : QStringList(), DynamicIslandToastView::tr("Move")};
}
BadgeContent moreBadgeContent(bool withKeys)
{
    return {withKeys ? keys({"Super", "Shift", "."}) : QStringList(), DynamicIslandToastView::tr("More")};
}
BadgeContent trashCopiesBadgeContent(bool withKeys)
{
    return {withKeys ? keys({"Super", "Shift", "Alt", "Backspace"}) : QStringList(), DynamicIslandToastView::tr("Trash the copy")};
}

constexpr double badgeHeight = 20;
constexpr double badgeSpacing = 5;
constexpr double badgePadding = 6;
constexpr double keycapPadding = 2.5;
constexpr double keycapSpacing = 1.5;
constexpr double nameBadgeGap = 6;
constexpr double captionHeight = 16; // the caption's badge is drawn at this height
constexpr double captionGap = 1;
const QColor ringGreen(52, 199, 89);

QFont pixelFont(double size, QFont::Weight weight = QFont::Normal)
{
    QFont font;
    font.setPixelSize(qRound(size));
    font.setWeight(weight);
    return font;
}

QFont nameFont()
{
    return pixelFont(15, QFont::DemiBold);
}
QFont labelFont()
{
    return pixelFont(11);
}
QFont captionFont()
{
    return pixelFont(11);
}
QFont keycapFont()
{
    return pixelFont(9, QFont::Medium);
}

double keycapWidth(const QString &key)
{
    return QFontMetricsF(keycapFont()).horizontalAdvance(key) + 2 * keycapPadding;
}

double badgeWidth(const BadgeContent &badge)
{
    double width = 2 * badgePadding + QFontMetricsF(labelFont()).horizontalAdvance(badge.label) + 4;
    for (const QString &key : badge.keys)
        width += keycapWidth(key) + keycapSpacing;
    return width;
}

// A capsule with the key caps and the label; brighter when it can be clicked. A `frame`
// lower than the badge's height draws the whole badge scaled down into it.
// `press` runs from 0 (up) to 1 (held down): the badge dims to 0.75 and shrinks to 0.97.
void paintBadge(QPainter &painter, const QRectF &frame, const BadgeContent &badge, bool interactive, double press,
                double opacity)
{
    painter.save();
    painter.setOpacity(painter.opacity() * opacity * (1 - 0.25 * press));
    const double scale = frame.height() / badgeHeight;
    painter.translate(frame.topLeft());
    painter.scale(scale, scale);
    const QRectF rect(0, 0, frame.width() / scale, badgeHeight);
    if (press > 0) {
        painter.translate(rect.center());
        painter.scale(1 - 0.03 * press, 1 - 0.03 * press);
        painter.translate(-rect.center());
    }
    const double radius = rect.height() / 2;
    painter.setPen(QPen(QColor(255, 255, 255, interactive ? 46 : 15), 0.5));
    painter.setBrush(QColor(255, 255, 255, interactive ? 41 : 20));
    painter.drawRoundedRect(rect, radius, radius);

    double x = rect.left() + badgePadding;
    painter.setFont(keycapFont());
    for (const QString &key : badge.keys) {
        const QRectF cap(x, rect.top() + 3.5, keycapWidth(key), rect.height() - 7);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(255, 255, 255, 38));
        painter.drawRoundedRect(cap, 3, 3);
        painter.setPen(QColor(255, 255, 255, 230));
        painter.drawText(cap, Qt::AlignCenter, key);
        x = cap.right() + keycapSpacing;
    }
    painter.setFont(labelFont());
    painter.setPen(QColor(255, 255, 255, interactive ? 255 : 217));
    painter.drawText(QRectF(x + 2, rect.top(), rect.right() - x - 2, rect.height()), Qt::AlignVCenter | Qt::AlignLeft,
                     badge.label);
    painter.restore();
}

} // namespace

QPainterPath dynamicIslandShape(const QRectF &rect, double t, double b)
{
    QPainterPath path;
    path.moveTo(rect.left(), rect.top());
    path.quadTo(rect.left() + t, rect.top(), rect.left() + t, rect.top() + t);
    path.lineTo(rect.left() + t, rect.bottom() - b);
    path.quadTo(rect.left() + t, rect.bottom(), rect.left() + t + b, rect.bottom());
    path.lineTo(rect.right() - t - b, rect.bottom());
    path.quadTo(rect.right() - t, rect.bottom(), rect.right() - t, rect.bottom() - b);
    path.lineTo(rect.right() - t, rect.top() + t);
    path.quadTo(rect.right() - t, rect.top(), rect.right(), rect.top());
    path.closeSubpath();
    return path;
}

DynamicIslandToastView::DynamicIslandToastView(QWidget *parent) : QWidget(parent)
{
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    m_press.setDuration(80);
    m_press.setEasingCurve(QEasingCurve::OutQuad);
    m_press.setStartValue(0.0);
    m_press.setEndValue(0.0);
    connect(&m_press, &QVariantAnimation::valueChanged, this, [this] { update(); });
}

void DynamicIslandToastView::setFrame(Frame frame)
{
    m_frame = std::move(frame);
    layoutBadges();
    update();
}

void DynamicIslandToastView::setRingProgress(double progress)
{
    if (progress == m_frame.ringProgress)
        return;
    m_frame.ringProgress = progress;
    update(islandTransform().mapRect(ringRect(islandRect())).toAlignedRect().adjusted(-2, -2, 2, 2));
}

QRectF DynamicIslandToastView::islandRect() const
{
    return {(width() - island::width) / 2, 0, island::width, island::height(m_frame.input.topInset)};
}

QTransform DynamicIslandToastView::islandTransform() const
{
    const island::Appearance look = island::appearance(m_frame.expansion, m_frame.input.hasNotch);
    const QRectF rect = islandRect();
    QTransform transform;
    // The bump scales about the island's centre, the collapse about its top centre.
    transform.translate(rect.center().x(), rect.center().y());
    transform.scale(m_frame.bumpScale, m_frame.bumpScale);
    transform.translate(-rect.center().x(), -rect.center().y());
    transform.translate(rect.center().x(), rect.top());
    transform.scale(look.scaleX, look.scaleY);
    transform.translate(-rect.center().x(), -rect.top());
    return transform;
}

QPainterPath DynamicIslandToastView::islandOutline() const
{
    return islandTransform().map(dynamicIslandShape(islandRect(), island::topCornerRadius, island::bottomCornerRadius));
}

void DynamicIslandToastView::layoutBadges()
{
    const bool withKeys = m_frame.input.showsKeys;
    const QRectF rect = islandRect();
    const double contentTop = rect.top() + m_frame.input.topInset + 8;
    const double nameHeight = QFontMetricsF(nameFont()).height();
    m_caption = islandCaption(m_frame.input.files);
    const double captionSpace = m_caption.text.isEmpty() ? 0 : captionGap + captionHeight;
    const double blockTop =
        contentTop + (island::thumbnailSize - nameHeight - captionSpace - nameBadgeGap - badgeHeight) / 2;
    double x = rect.left() + island::leadingInset + island::thumbnailSize + island::spacing;
    const double y = blockTop + nameHeight + captionSpace + nameBadgeGap;
    m_nameTop = blockTop;

    // The caption: its text, then, for a copy, the badge that trashes it at the line's end.
    m_captionRect = {};
    m_badgeRects[trashCopiesBadge] = {};
    if (!m_caption.text.isEmpty()) {
        const double captionTop = blockTop + nameHeight + captionGap;
        double textRight = middleRight(rect);
        if (m_caption.offersTrashCopies) {
            const double scale = captionHeight / badgeHeight;
            const double width = std::min(badgeWidth(trashCopiesBadgeContent(withKeys)) * scale, (textRight - x) * 0.6);
            m_badgeRects[trashCopiesBadge] = QRectF(textRight - width, captionTop, width, captionHeight);
            textRight -= width + badgeSpacing;
        }
        m_captionRect = QRectF(x, captionTop, std::max(0.0, textRight - x), captionHeight);
    }

    // The row must end before the ring, whatever the fonts: when it is too long it is drawn
    // smaller, by the same factor with Alt held or not, so that it never jumps.
    const double widestKeep = std::max(badgeWidth(markTemporaryBadge(withKeys)), badgeWidth(customTimeBadge(withKeys)));
    const double rowWidth =
        widestKeep + badgeWidth(moveBadgeContent(withKeys)) + badgeWidth(moreBadgeContent(withKeys)) + 2 * badgeSpacing;
    const double scale = std::min(1.0, (middleRight(rect) - x) / rowWidth);
    const double top = y + badgeHeight * (1 - scale) / 2;
    const auto badgeFrame = [&](const BadgeContent &badge) {
        return QRectF(x, top, badgeWidth(badge) * scale, badgeHeight * scale);
    };
    const BadgeContent keep = m_frame.input.isOptionHeld ? customTimeBadge(withKeys) : markTemporaryBadge(withKeys);
    m_badgeRects[keepBadge] = badgeFrame(keep);
    m_customTimeRect = badgeFrame(customTimeBadge(withKeys));
    m_markTemporaryRect = badgeFrame(markTemporaryBadge(withKeys));
    x = m_badgeRects[keepBadge].right() + badgeSpacing * scale;
    m_badgeRects[moveBadge] = badgeFrame(moveBadgeContent(withKeys));
    x = m_badgeRects[moveBadge].right() + badgeSpacing * scale;
    m_badgeRects[moreBadge] = badgeFrame(moreBadgeContent(withKeys));
}

QRectF DynamicIslandToastView::ringRect(const QRectF &island) const
{
    const double contentTop = island.top() + m_frame.input.topInset + 8;
    return {island.right() - island::trailingInset - island::ringSize,
            contentTop + (island::thumbnailSize - island::ringSize) / 2, island::ringSize, island::ringSize};
}

double DynamicIslandToastView::middleRight(const QRectF &island) const
{
    return ringRect(island).left() - island::spacing - 12;
}

void DynamicIslandToastView::paintEvent(QPaintEvent *)
{
    const island::Appearance look = island::appearance(m_frame.expansion, m_frame.input.hasNotch);
    if (look.opacity <= 0)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setOpacity(look.opacity);
    painter.setTransform(islandTransform());
    paintIsland(painter);
}

void DynamicIslandToastView::paintIsland(QPainter &painter)
{
    const QRectF rect = islandRect();
    const QPainterPath shape = dynamicIslandShape(rect, island::topCornerRadius, island::bottomCornerRadius);
    painter.fillPath(shape, Qt::black);
    if (m_frame.input.files.empty())
        return;
    painter.setClipPath(shape);

    const double contentTop = rect.top() + m_frame.input.topInset + 8;
    const QRectF thumbnail(rect.left() + island::leadingInset, contentTop, island::thumbnailSize,
                           island::thumbnailSize);
    paintFileThumbnail(painter, thumbnail, m_frame.thumbnail, m_frame.thumbnailPath, 10);
    if (m_frame.input.files.size() >= 2)
        paintStackCount(painter, thumbnail);

    paintRing(painter, ringRect(rect));

    const double nameLeft = thumbnail.right() + island::spacing;
    const double nameRight = middleRight(rect);
    const QFontMetricsF metrics(nameFont());
    painter.setFont(nameFont());
    painter.setPen(Qt::white);
    const QString name =
        metrics.elidedText(m_frame.input.files.front().fileName, Qt::ElideMiddle, nameRight - nameLeft);
    painter.drawText(QRectF(nameLeft, m_nameTop, nameRight - nameLeft, metrics.height()),
                     Qt::AlignLeft | Qt::AlignVCenter, name);
    if (!m_captionRect.isNull()) {
        painter.setFont(captionFont());
        painter.setPen(QColor(255, 255, 255, 166));
        painter.drawText(m_captionRect, Qt::AlignLeft | Qt::AlignVCenter,
                         QFontMetricsF(captionFont()).elidedText(m_caption.text, Qt::ElideRight, m_captionRect.width()));
    }
    paintBadges(painter);
}

void DynamicIslandToastView::paintBadges(QPainter &painter)
{
    const bool withKeys = m_frame.input.showsKeys;
    const double swap = std::clamp(m_frame.optionSwap, 0.0, 1.0);
    const auto press = [this](int badge) { return badge == m_pressAnimatedBadge ? m_press.currentValue().toDouble() : 0.0; };
    if (swap < 1)
        paintBadge(painter, m_markTemporaryRect, markTemporaryBadge(withKeys), m_isHovering, press(keepBadge), 1 - swap);
    if (swap > 0)
        paintBadge(painter, m_customTimeRect, customTimeBadge(withKeys), m_isHovering, press(keepBadge), swap);
    paintBadge(painter, m_badgeRects[moveBadge], moveBadgeContent(withKeys), m_isHovering, press(moveBadge), 1);
    paintBadge(painter, m_badgeRects[moreBadge], moreBadgeContent(withKeys), m_isHovering, press(moreBadge), 1);
    if (!m_badgeRects[trashCopiesBadge].isNull())
        paintBadge(painter, m_badgeRects[trashCopiesBadge], trashCopiesBadgeContent(withKeys), m_isHovering,
                   press(trashCopiesBadge), 1);
}

void DynamicIslandToastView::paintRing(QPainter &painter, const QRectF &rect) const
{
    constexpr double lineWidth = 3.5;
    const QRectF circle = rect.adjusted(lineWidth / 2, lineWidth / 2, -lineWidth / 2, -lineWidth / 2);
    painter.save();
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(255, 255, 255, 46), lineWidth, Qt::SolidLine, Qt::FlatCap));
    painter.drawEllipse(circle);
    const double fraction = std::max(m_frame.ringProgress, 0.001);
    painter.setPen(QPen(ringGreen, lineWidth, Qt::SolidLine, Qt::RoundCap));
    // From twelve o'clock, clockwise; Qt counts sixteenths of a degree, anticlockwise.
    painter.drawArc(circle, 90 * 16, -qRound(fraction * 360 * 16));
    painter.restore();
}

void DynamicIslandToastView::paintStackCount(QPainter &painter, const QRectF &thumbnail) const
{
    const QString text = QString::number(static_cast<long long>(m_frame.input.files.size()));
    const QFont font = pixelFont(10, QFont::Bold);
    const double width = std::max(16.0, QFontMetricsF(font).horizontalAdvance(text) + 6);
    const QRectF badge(thumbnail.right() - width + 5, thumbnail.top() - 5, width, 16);
    painter.save();
    painter.setPen(QPen(Qt::black, 1.5));
    painter.setBrush(palette().color(QPalette::Highlight));
    painter.drawRoundedRect(badge, 8, 8);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(badge, Qt::AlignCenter, text);
    painter.restore();
}

int DynamicIslandToastView::badgeAt(QPointF widgetPoint) const
{
    bool invertible = false;
    const QPointF point = islandTransform().inverted(&invertible).map(widgetPoint);
    if (!invertible)
        return -1;
    for (int badge = 0; badge < badgeCount; ++badge) {
        if (m_badgeRects[badge].contains(point))
            return badge;
    }
    return -1;
}

void DynamicIslandToastView::setHovering(bool hovering)
{
    if (hovering == m_isHovering)
        return;
    m_isHovering = hovering;
    if (!hovering)
        m_pressedBadge = -1;
    update();
    if (actions.onHoverChanged)
        actions.onHoverChanged(hovering);
}

void DynamicIslandToastView::notePointerAt(QPoint globalPosition)
{
    if (!m_isHovering && islandOutline().contains(QPointF(mapFromGlobal(globalPosition))))
        setHovering(true);
}

void DynamicIslandToastView::mouseMoveEvent(QMouseEvent *event)
{
    setHovering(islandOutline().contains(event->position()));
}

void DynamicIslandToastView::leaveEvent(QEvent *)
{
    setHovering(false);
}

void DynamicIslandToastView::mousePressEvent(QMouseEvent *event)
{
    setHovering(islandOutline().contains(event->position()));
    m_pressedBadge = m_isHovering && event->button() == Qt::LeftButton ? badgeAt(event->position()) : -1;
    if (m_pressedBadge >= 0) {
        m_pressAnimatedBadge = m_pressedBadge;
        animatePress(1);
    }
    update();
}

void DynamicIslandToastView::animatePress(double to)
{
    const double from = m_press.currentValue().toDouble();
    m_press.stop();
    m_press.setStartValue(from);
    m_press.setEndValue(to);
    m_press.start();
}

void DynamicIslandToastView::mouseReleaseEvent(QMouseEvent *event)
{
    const int pressed = m_pressedBadge;
    m_pressedBadge = -1;
    if (pressed >= 0)
        animatePress(0);
    update();
    if (pressed < 0 || !m_isHovering || badgeAt(event->position()) != pressed)
        return;
    const std::function<void()> &action = pressed == keepBadge
                                              ? (m_frame.input.isOptionHeld ? actions.onCustomTime
                                                                            : actions.onMarkTemporary)
                                              : pressed == moveBadge   ? actions.onMove
                                              : pressed == moreBadge   ? actions.onMore
                                                                       : actions.onTrashCopies;
    if (action)
        action();
}

} // namespace dowsel
