#include "toast/DampedSpring.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace dowsel {

namespace {

constexpr double settleDistance = 0.0005;
constexpr double settleSpeed = 0.005;

} // namespace

DampedSpring::DampedSpring(double response, double dampingFraction, double value) : m_value(value), m_target(value)
{
    setFeel(response, dampingFraction);
}

void DampedSpring::setFeel(double response, double dampingFraction)
{
    m_angularFrequency = 2 * std::numbers::pi / std::max(response, 0.01);
    // The closed form below is the under-damped one.
    m_damping = std::clamp(dampingFraction, 0.0, 0.999);
}

void DampedSpring::animateTo(double target, double response, double dampingFraction)
{
    setFeel(response, dampingFraction);
    animateTo(target);
}

void DampedSpring::animateTo(double target)
{
    m_target = target;
    m_settled = std::abs(m_value - m_target) < settleDistance && std::abs(m_velocity) < settleSpeed;
    if (m_settled)
        jumpTo(target);
}

void DampedSpring::jumpTo(double value)
{
    m_value = value;
    m_target = value;
    m_velocity = 0;
    m_settled = true;
}

void DampedSpring::step(double seconds)
{
    if (m_settled || seconds <= 0)
        return;
    // x(t) = e^(-ζω t) (A cos ωd t + B sin ωd t) around the target.
    const double omega = m_angularFrequency;
    const double decayRate = m_damping * omega;
    const double dampedFrequency = omega * std::sqrt(1 - m_damping * m_damping);
    const double a = m_value - m_target;
    const double b = (m_velocity + decayRate * a) / dampedFrequency;
    const double decay = std::exp(-decayRate * seconds);
    const double cosine = std::cos(dampedFrequency * seconds);
    const double sine = std::sin(dampedFrequency * seconds);
    const double offset = decay * (a * cosine + b * sine);
    m_velocity = decay * ((b * dampedFrequency - decayRate * a) * cosine - (a * dampedFrequency + decayRate * b) * sine);
    m_value = m_target + offset;
    if (std::abs(offset) < settleDistance && std::abs(m_velocity) < settleSpeed)
        jumpTo(m_target);
}

} // namespace dowsel
