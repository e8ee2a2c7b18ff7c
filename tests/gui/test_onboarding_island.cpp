#include "../unit/ToastTestSupport.h"

#include "app/PermissionsManager.h"
#include "onboarding/OnboardingFlow.h"
#include "onboarding/gui/OnboardingHintView.h"
#include "onboarding/gui/OnboardingIsland.h"
#include "onboarding/gui/OnboardingIslandView.h"
#include "toast/gui/FloatingPanel.h"
#include "ui/ShortcutCommandsList.h"

#include <QClipboard>
#include <QGuiApplication>

#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

namespace dowsel {
namespace {

using namespace dowsel::testing;

class OnboardingIslandTest : public ToastFixture {
protected:
    void SetUp() override
    {
        ToastFixture::SetUp();
        if (HasFatalFailure())
            return;
        permissions = std::make_unique<PermissionsManager>(prefs, downloads);
        flow = std::make_unique<OnboardingFlow>(OnboardingFlow::Services{
            .controller = *controller,
            .store = *actor,
            .permissions = *permissions,
            .preferences = prefs,
            .scheduler = clock,
            .mainExecutor = mainThread,
            .downloadsPath = downloads,
            .checkShortcuts =
                [] {
                    return ShortcutCheck{true, {}};
                },
            .onStartCoreServices = [](std::function<void()> done) { done(); },
            .onCompleted = {},
        });
        island = std::make_unique<OnboardingIsland>(*flow, mainThread);
    }

    void TearDown() override
    {
        island.reset();
        flow.reset();
        ToastFixture::TearDown();
    }

    // The texts the island shows right now.
    QStringList visibleTexts()
    {
        QStringList texts;
        for (const QLabel *label : island->view().findChildren<QLabel *>()) {
            if (label->isVisibleTo(&island->panel()) && !label->text().isEmpty())
                texts << label->text();
        }
        return texts;
    }

    QPushButton *button(const QString &text)
    {
        for (QPushButton *candidate : island->view().findChildren<QPushButton *>()) {
            if (candidate->isVisibleTo(&island->panel()) && candidate->text().startsWith(text))
                return candidate;
        }
        return nullptr;
    }

    int currentDot() { return island->view().findChild<StepDots *>()->current(); }

    std::unique_ptr<PermissionsManager> permissions;
    std::unique_ptr<OnboardingFlow> flow;
    std::unique_ptr<OnboardingIsland> island;
};

TEST_F(OnboardingIslandTest, ShowsTheWelcomeStepAndShiftEnterMovesOn)
{
    EXPECT_FALSE(island->panel().isVisible());
    flow->start();
    clock.advance(1);
    ASSERT_TRUE(island->panel().isVisible());
    EXPECT_TRUE(visibleTexts().contains("Welcome to Dowsel"));
    ASSERT_NE(button("Get Started"), nullptr);
    EXPECT_EQ(currentDot(), 0);
    const QRect frame = island->panel().geometry();
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    EXPECT_EQ(frame.top(), screen.top());
    EXPECT_LE(std::abs(frame.center().x() - screen.center().x()), 1);

    QTest::keyClick(&island->view(), Qt::Key_Return); // Enter alone is not the shortcut
    EXPECT_EQ(flow->state().step, OnboardingStep::welcome);
    QTest::keyClick(&island->view(), Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_EQ(flow->state().step, OnboardingStep::downloads);
    clock.advance(1);
    EXPECT_TRUE(visibleTexts().contains("Allow access to Downloads"));
    EXPECT_FALSE(visibleTexts().contains("Welcome to Dowsel"));
    EXPECT_EQ(currentDot(), 1);

    QTest::keyClick(&island->view(), Qt::Key_Enter, Qt::ShiftModifier | Qt::KeypadModifier);
    EXPECT_EQ(flow->state().status, OnboardingPermissionStatus::requesting);
    ASSERT_NE(button("Waiting for permission…"), nullptr);
    EXPECT_FALSE(button("Waiting for permission…")->isEnabled());
}

TEST_F(OnboardingIslandTest, ItemsFadeInAfterTheStepChanges)
{
    flow->start();
    const auto opacity = [this](QWidget *item) {
        return qobject_cast<QGraphicsOpacityEffect *>(item->graphicsEffect())->opacity();
    };
    QLabel *title = nullptr;
    for (QLabel *label : island->view().findChildren<QLabel *>())
        if (label->text() == "Welcome to Dowsel")
            title = label;
    ASSERT_NE(title, nullptr);
    EXPECT_EQ(opacity(title), 0);
    clock.advance(1);
    EXPECT_EQ(opacity(title), 1);
}

TEST_F(OnboardingIslandTest, SkipButtonLeavesTheShortcutsStepAndTheIslandHidesForTheDemo)
{
    flow->start();
    flow->setStep(OnboardingStep::accessibility);
    clock.advance(1);
    EXPECT_TRUE(visibleTexts().contains("Super+Shift+T"));
    QPushButton *skip = button("Skip for now");
    ASSERT_NE(skip, nullptr);
    QTest::mouseClick(skip, Qt::LeftButton);
    EXPECT_EQ(flow->state().step, OnboardingStep::tryIt);
    EXPECT_EQ(button("Skip for now"), nullptr);

    QTest::mouseClick(button("Test it now"), Qt::LeftButton);
    EXPECT_FALSE(island->panel().isVisible());
    EXPECT_TRUE(controller->isActionDemoActive());
}

TEST_F(OnboardingIslandTest, OnWaylandWithoutThePortalTheIslandListsTheCommandsToBind)
{
    Session wayland;
    wayland.type = SessionType::wayland;
    PortalStatus portal{PortalAnswer::waiting, {}};
    permissions->setSession(wayland);
    permissions->setPortalCheck([&portal] { return portal; });
    flow->start();
    flow->setStep(OnboardingStep::accessibility);
    clock.advance(1);
    EXPECT_TRUE(visibleTexts().contains("Super+Shift+T")) << "the keys Dowsel asks the portal for";
    EXPECT_TRUE(island->view().commandsList() == nullptr || !island->view().commandsList()->isVisibleTo(&island->panel()));

    // The portal turns out missing while the step shows: the step changes to the commands.
    portal.answer = PortalAnswer::missing;
    permissions->refresh();
    clock.advance(1);
    EXPECT_FALSE(visibleTexts().contains("Super+Shift+T"));
    ShortcutCommandsList *list = island->view().commandsList();
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(list->isVisibleTo(&island->panel()));
    EXPECT_EQ(list->confirmBox(), nullptr) << "the island's own button is the user's word";
    QPushButton *copy = list->copyButton(QStringLiteral("move"));
    ASSERT_NE(copy, nullptr);
    QTest::mouseClick(copy, Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), currentCommandProgram() + QStringLiteral(" toast move"));
    EXPECT_EQ(copy->text(), QStringLiteral("Copied"));
    EXPECT_LE(island->view().height(), QGuiApplication::primaryScreen()->geometry().height() / 2)
        << "the list fits the island";

    QPushButton *bound = button("I've Bound Them");
    ASSERT_NE(bound, nullptr);
    QTest::mouseClick(bound, Qt::LeftButton);
    EXPECT_TRUE(permissions->hasAccessibility());
    clock.advance(0.2);
    EXPECT_NE(button("Commands bound"), nullptr);
}

TEST_F(OnboardingIslandTest, EveryStateShowsItsWholeText)
{
    // Word-wrapped texts get the height their width needs, in every state the flow goes through,
    // including "Shortcuts active", which follows the waiting state within one call.
    const auto check = [this](const char *state) {
        SCOPED_TRACE(state);
        QCoreApplication::processEvents();
        for (const QLabel *label : island->view().findChildren<QLabel *>()) {
            if (!label->isVisibleTo(&island->panel()) || !label->wordWrap() || label->text().isEmpty())
                continue;
            EXPECT_GE(label->height(), label->heightForWidth(label->width())) << label->text().toStdString();
            const QRect inView(label->mapTo(&island->view(), QPoint(0, 0)), label->size());
            EXPECT_TRUE(island->view().rect().contains(inView)) << label->text().toStdString();
        }
        EXPECT_EQ(island->panel().size(), island->view().size());
    };
    flow->start();
    clock.advance(1);
    check("welcome");
    flow->setStep(OnboardingStep::accessibility);
    clock.advance(1);
    check("shortcuts");
    flow->primary();
    EXPECT_EQ(flow->content().primary.title, "Shortcuts active");
    check("shortcuts active");
    flow->setStep(OnboardingStep::downloads);
    flow->primary();
    check("waiting for Downloads");
    clock.advance(OnboardingFlow::firstDownloadsCheckDelay);
    check("Downloads granted");
}

TEST(OnboardingHintViewTest, ButtonsFollowThePhase)
{
    OnboardingHintView running(hintContent(HintPhase::running, QStringLiteral("1 hour"), false));
    QStringList titles;
    for (const QPushButton *b : running.findChildren<QPushButton *>())
        titles << b->text();
    EXPECT_EQ(titles, (QStringList{"Change the time in Settings", "Done"}));

    OnboardingHintView concluded(hintContent(HintPhase::concluded, QStringLiteral("1 hour"), true));
    QSignalSpy dismissed(&concluded, &OnboardingHintView::concludedDismissClicked);
    QSignalSpy done(&concluded, &OnboardingHintView::doneClicked);
    for (QPushButton *b : concluded.findChildren<QPushButton *>()) {
        if (b->text() == "All right")
            QTest::mouseClick(b, Qt::LeftButton);
    }
    EXPECT_EQ(dismissed.count(), 1);
    EXPECT_EQ(done.count(), 0);
}

} // namespace
} // namespace dowsel
