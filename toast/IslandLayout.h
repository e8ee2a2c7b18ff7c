#pragma once

#include "platform/Time.h"

#include <optional>

namespace dowsel {

// Measures of the black island and the pieces of its drawing that do not need a painter.
namespace island {

inline constexpr double width = 520;
inline constexpr double collapsedWidth = 140;
inline constexpr double collapsedWidthScale = collapsedWidth / width;
inline constexpr double collapsedHeightScale = 0.15;
inline constexpr double topCornerRadius = 10;
inline constexpr double bottomCornerRadius = 22;
inline constexpr double leadingInset = 18;
inline constexpr double trailingInset = 32;
inline constexpr double thumbnailSize = 52;
inline constexpr double ringSize = 26;
inline constexpr double spacing = 12;
inline constexpr double bottomInset = 12;
inline constexpr double bumpScale = 1.04;

// Full height of the expanded island: the top band, 8 above the content, 52 of content, 12 below.
double height(double topInset);

// How the island is drawn at `expansion` (0 collapsed, 1 expanded; a spring may overshoot
// either end). It is scaled about its top centre; without a notch to hide in, the collapsed
// island fades away.
struct Appearance {
    double scaleX = 1;
    double scaleY = 1;
    double opacity = 1;
};
Appearance appearance(double expansion, bool hasNotch);

// The fraction of the countdown still to run, 0...1: the paused fraction when paused, else
// the time to the deadline over the duration.
double ringProgress(Date deadline, Seconds duration, std::optional<double> pausedProgress, Date now);

// Whether the ring must be redrawn every frame: it runs, is not paused and has time left.
bool isRingMoving(Date deadline, std::optional<double> pausedProgress, bool isActive, Date now);

} // namespace island
} // namespace dowsel
