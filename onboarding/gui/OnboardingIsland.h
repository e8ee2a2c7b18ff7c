#pragma once

#include <QObject>

#include <memory>

namespace dowsel {

class Executor;
class FloatingPanel;
class OnboardingFlow;
class OnboardingIslandView;

// The island panel at the top centre of the toast's screen, showing the flow's current step.
// It follows the flow's changes; its buttons reach the flow through main-thread tasks.
class OnboardingIsland final : public QObject {
    Q_OBJECT
public:
    OnboardingIsland(OnboardingFlow &flow, Executor &mainExecutor, QObject *parent = nullptr);
    ~OnboardingIsland() override;

    FloatingPanel &panel() { return *m_panel; }
    OnboardingIslandView &view() { return *m_view; }

private:
    void refresh();
    void place();

    OnboardingFlow &m_flow;
    Executor &m_main;
    std::unique_ptr<FloatingPanel> m_panel;
    OnboardingIslandView *m_view;
    double m_topInset = 0;
};

} // namespace dowsel
