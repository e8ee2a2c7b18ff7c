#include "toast/gui/PanelPlacement.h"

#include "platform/linux/SwayIpc.h"
#include "platform/linux/x11/X11Desktop.h"
#include "toast/PanelGeometry.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

namespace dowsel {

namespace {

// X reports the active window in device pixels; Qt keeps each screen's origin in device
// pixels and scales only its size.
QScreen *screenAtNativePoint(QPoint point)
{
    for (QScreen *screen : QGuiApplication::screens()) {
        const QRect logical = screen->geometry();
        const QRect native(logical.topLeft(), logical.size() * screen->devicePixelRatio());
        if (native.contains(point))
            return screen;
    }
    return nullptr;
}

QScreen *screenNamed(const QString &name)
{
    for (QScreen *screen : QGuiApplication::screens()) {
        if (screen->name() == name)
            return screen;
    }
    return nullptr;
}

} // namespace

QScreen *toastScreen()
{
    if (const std::optional<QPoint> active = x11::activeWindowCenter()) {
        if (QScreen *screen = screenAtNativePoint(*active))
            return screen;
    }
    // Through Xwayland, an X11 window is active only while one has the keyboard; sway says
    // which output has it otherwise. Xwayland lays its outputs out as the compositor does,
    // and names them as it does from version 23 on.
    if (const QByteArray sway = qgetenv("SWAYSOCK"); !sway.isEmpty()) {
        if (const std::optional<SwayOutput> output = swayFocusedOutput(sway)) {
            if (QScreen *screen = screenNamed(output->name))
                return screen;
            if (QScreen *screen = screenAtNativePoint(output->rect.center()))
                return screen;
        }
    }
    if (QScreen *screen = QGuiApplication::screenAt(QCursor::pos()))
        return screen;
    return QGuiApplication::primaryScreen();
}

ToastScreen describeScreen(const QScreen &screen)
{
    return {panelgeometry::topBandHeight(screen.geometry(), screen.availableGeometry()), false};
}

void placeToastPanel(QWidget &panel, const QScreen &screen)
{
    const QRectF frame = panelgeometry::toastPanelFrame(screen.geometry(), describeScreen(screen).topBandHeight);
    panel.setGeometry(frame.toAlignedRect());
}

void placeSurfacePanel(QWidget &panel, const QScreen &screen, double topInset, double height)
{
    panel.setGeometry(panelgeometry::surfacePanelFrame(screen.geometry(), topInset, height).toAlignedRect());
}

void placeShareAnchor(QWidget &panel, const QScreen &screen, double topInset)
{
    panel.setGeometry(panelgeometry::shareAnchorFrame(screen.geometry(), topInset).toAlignedRect());
}

} // namespace dowsel
