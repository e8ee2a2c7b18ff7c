#pragma once

#include "toast/ToastHost.h"

class QScreen;
class QWidget;

namespace dowsel {

// The screen the toast belongs on: the one holding the active window, else the one under
// the pointer, else the primary screen; nothing without any screen.
QScreen *toastScreen();

// The toast's screen as the controller sees it: the height of its top band; no notch on Linux.
ToastScreen describeScreen(const QScreen &screen);

// Moves and sizes `panel` as the toast panel of `screen`.
void placeToastPanel(QWidget &panel, const QScreen &screen);
// Moves and sizes a move input, time input or More menu panel of `height` under the island.
void placeSurfacePanel(QWidget &panel, const QScreen &screen, double topInset, double height);
void placeShareAnchor(QWidget &panel, const QScreen &screen, double topInset);

} // namespace dowsel
