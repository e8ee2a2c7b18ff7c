#pragma once

namespace dowsel {

// A spring that pulls a value towards its target, described the way designers tune them:
// `response` is the period of the undamped oscillation in seconds, `dampingFraction` how much
// of the bounce is taken out (below 1 it overshoots a little, as the island's springs do).
// Steps use the closed-form solution, so the path does not depend on the frame rate.
class DampedSpring {
public:
    DampedSpring(double response, double dampingFraction, double value = 0);

    // A new target and feel; the current value and velocity carry over, so a spring
    // redirected mid-flight moves on smoothly.
    void animateTo(double target, double response, double dampingFraction);
    void animateTo(double target);
    void jumpTo(double value);
    void step(double seconds);

    double value() const { return m_value; }
    double velocity() const { return m_velocity; }
    double target() const { return m_target; }
    // Close enough to the target, and slow enough, that no one sees it move any more.
    bool isSettled() const { return m_settled; }

private:
    void setFeel(double response, double dampingFraction);

    double m_angularFrequency = 0;
    double m_damping = 0;
    double m_value;
    double m_velocity = 0;
    double m_target;
    bool m_settled = true;
};

} // namespace dowsel
