#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

namespace dowsel {

// Where the popover's top-left corner goes: centred on the tray icon, under it when the icon
// is in the upper half of the screen and over it otherwise, kept inside the available area.
// An empty `anchor` (a tray that does not report its geometry) is treated as a point.
QPoint popoverPosition(const QRect &anchor, const QSize &size, const QRect &available, int gap = 4);

} // namespace dowsel
