#include "toast/gui/PanelPlacement.h"

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

} // namespace

QScreen *toastScreen()
{
    if (const std::optional<QPoint> active = x11::activeWindowCenter()) {
        if (QScreen *screen = screenAtNativePoint(*active))
            return screen;
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
