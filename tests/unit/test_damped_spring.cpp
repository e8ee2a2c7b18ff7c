#include "toast/DampedSpring.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace dowsel;

namespace {

// Runs the spring at 60 frames a second until it settles; returns the largest value seen.
double runToRest(DampedSpring &spring, double maxSeconds = 5)
{
    double peak = spring.value();
    for (double t = 0; t < maxSeconds && !spring.isSettled(); t += 1.0 / 60) {
        spring.step(1.0 / 60);
        peak = std::max(peak, spring.value());
    }
    return peak;
}

TEST(DampedSpring, OpensWithASmallOvershootAndSettlesExactlyOnTarget)
{
    DampedSpring spring(0.45, 0.65);
    spring.animateTo(1);
    EXPECT_FALSE(spring.isSettled());
    const double peak = runToRest(spring);
    EXPECT_TRUE(spring.isSettled());
    EXPECT_DOUBLE_EQ(spring.value(), 1);
    // An under-damped spring at 0.65 overshoots by e^(-ζπ/√(1-ζ²)) ≈ 6.8 %.
    EXPECT_NEAR(peak, 1.068, 0.01);
}

TEST(DampedSpring, PathDoesNotDependOnTheFrameRate)
{
    DampedSpring coarse(0.35, 0.6);
    DampedSpring fine(0.35, 0.6);
    coarse.animateTo(1.04);
    fine.animateTo(1.04);
    coarse.step(0.1);
    for (int i = 0; i < 100; ++i)
        fine.step(0.001);
    EXPECT_NEAR(coarse.value(), fine.value(), 1e-9);
    EXPECT_NEAR(coarse.velocity(), fine.velocity(), 1e-9);
}

TEST(DampedSpring, RedirectedMidFlightKeepsItsVelocity)
{
    DampedSpring spring(0.35, 0.6, 1.0);
    spring.animateTo(1.04);
    spring.step(0.12);
    const double value = spring.value();
    const double velocity = spring.velocity();
    ASSERT_GT(velocity, 0);
    spring.animateTo(1.0, 0.45, 0.72);
    EXPECT_EQ(spring.value(), value);
    EXPECT_EQ(spring.velocity(), velocity);
    spring.step(1.0 / 60);
    EXPECT_GT(spring.value(), value) << "still moving outwards for a moment";
    runToRest(spring);
    EXPECT_DOUBLE_EQ(spring.value(), 1.0);
}

TEST(DampedSpring, AlreadyAtTargetDoesNotAnimate)
{
    DampedSpring spring(0.45, 0.65, 1);
    spring.animateTo(1);
    EXPECT_TRUE(spring.isSettled());
    spring.animateTo(0);
    spring.jumpTo(0.5);
    EXPECT_TRUE(spring.isSettled());
    EXPECT_EQ(spring.target(), 0.5);
}

} // namespace
