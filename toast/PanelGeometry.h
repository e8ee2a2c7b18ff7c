#pragma once

#include "toast/ToastEntry.h"

#include <QRectF>
#include <QSizeF>

namespace dowsel {

// Where the toast's floating panels go, in screen coordinates (y grows downwards). The
// island hangs from the top edge of the screen, below the top band (the desktop's panel
// strip, or nothing).
namespace panelgeometry {

inline constexpr double toastPanelWidth = 820;
inline constexpr double toastPanelExtraHeight = 120;
inline constexpr double surfacePanelWidth = 500;
inline constexpr double surfaceGap = 12;
inline constexpr double moreMenuRowHeight = 33;
inline constexpr double moreMenuRowSpacing = 2;
inline constexpr double moreMenuPadding = 16;
inline constexpr double hitMargin = 6;

// Height of the strip that the desktop reserves at the top of the screen: available top
// minus frame top, never negative.
double topBandHeight(const QRectF &screenFrame, const QRectF &availableFrame);

// The expanded island's height below the screen's top edge: T + 8 + 52 + 12.
double expandedIslandBottom(double topInset);

QRectF toastPanelFrame(const QRectF &screenFrame, double topBand);
// The move input, the time input and the More menu: 500 wide, 12 below the expanded island.
QRectF surfacePanelFrame(const QRectF &screenFrame, double topInset, double height);
double moreMenuHeight(int rows);
// A 2 × 2 point just under the middle of the island's lower edge.
QRectF shareAnchorFrame(const QRectF &screenFrame, double topInset);

// The part of a toast panel of `panelSize` that takes clicks: the island as it is in
// `state`, with a 6-point margin, at the top centre. Clicks elsewhere reach the window below.
QRectF islandHitRect(const QSizeF &panelSize, double topInset, DynamicIslandToastState state);

} // namespace panelgeometry
} // namespace dowsel
