#include "onboarding/gui/OnboardingIsland.h"

#include "onboarding/OnboardingFlow.h"
#include "onboarding/gui/OnboardingIslandView.h"
#include "platform/Executor.h"
#include "toast/PanelGeometry.h"
#include "toast/ToastController.h"
#include "toast/gui/FloatingPanel.h"
#include "toast/gui/PanelPlacement.h"

#include <QPainterPath>
#include <QPointer>
#include <QScreen>

#include <algorithm>

namespace dowsel {

OnboardingIsland::OnboardingIsland(OnboardingFlow &flow, Executor &mainExecutor, QObject *parent)
    : QObject(parent),
      m_flow(flow),
      m_main(mainExecutor),
      m_panel(
          std::make_unique<FloatingPanel>(FloatingPanel::Role::display, QSize(OnboardingIslandView::islandWidth, 200))),
      m_view(new OnboardingIslandView(m_panel.get()))
{
    const QPointer<OnboardingIsland> alive = this;
    const auto later = [this, alive](void (OnboardingFlow::*action)()) {
        return [this, alive, action] {
            m_main.post([this, alive, action] {
                if (alive)
                    (m_flow.*action)();
            });
        };
    };
    connect(m_view, &OnboardingIslandView::primaryClicked, this, later(&OnboardingFlow::primary));
    connect(m_view, &OnboardingIslandView::secondaryClicked, this, later(&OnboardingFlow::secondary));
    connect(m_view, &OnboardingIslandView::openSettingsClicked, this, later(&OnboardingFlow::openSettings));
    connect(&m_flow, &OnboardingFlow::changed, this, &OnboardingIsland::refresh);
    refresh();
}

OnboardingIsland::~OnboardingIsland() = default;

void OnboardingIsland::refresh()
{
    if (!m_flow.isVisible()) {
        m_panel->orderOut();
        return;
    }
    const bool appearing = !m_panel->isOnScreen();
    if (appearing)
        place();
    m_view->render(m_flow.content(), m_flow.appear().shownCount(), m_topInset);
    m_panel->resize(m_view->size());
    if (!m_panel->isTranslucent())
        m_panel->setMask(QRegion(m_view->islandOutline().toFillPolygon().toPolygon()));
    if (appearing) {
        m_panel->orderFront();
        // Shift+Enter works by the global grab; the keyboard is given only to a managed panel.
        m_view->setFocus();
    }
}

// Top centre of the toast's screen, under the desktop's top panel if it has one.
void OnboardingIsland::place()
{
    const QScreen *screen = toastScreen();
    if (!screen)
        return;
    const QRect frame = screen->geometry();
    m_topInset = std::min(describeScreen(*screen).topBandHeight, ToastController::topInsetCap);
    m_panel->move(frame.left() + (frame.width() - OnboardingIslandView::islandWidth) / 2, frame.top());
}

} // namespace dowsel
