#include "toast/gui/QtToastPanel.h"

#include "platform/linux/x11/X11Desktop.h"
#include "toast/IslandLayout.h"
#include "toast/PanelGeometry.h"

#include "core/Logging.h"

#include <QElapsedTimer>
#include <QRegion>
#include <QWindow>

namespace dowsel {

QtToastPanel::QtToastPanel(const Clock &clock, ThumbnailCache &thumbnails)
    : FloatingPanel(Role::display, QSize(800, 400)), m_host(new DynamicIslandToastHost(clock, thumbnails, this)),
      m_fade(this, "windowOpacity")
{
    if (!isTranslucent()) {
        // Without a compositor nothing is translucent: the window is cut to the island and
        // whatever the island does not cover inside that cut is black, never the light
        // default background.
        QPalette black = palette();
        black.setColor(QPalette::Window, Qt::black);
        setPalette(black);
        setAutoFillBackground(true);
        connect(m_host, &DynamicIslandToastHost::frameChanged, this, &QtToastPanel::shapeToIsland);
        shapeToIsland();
    }
}

bool QtToastPanel::isOnScreen() const
{
    return FloatingPanel::isOnScreen();
}

void QtToastPanel::orderIn(bool fadeIn)
{
    m_fade.stop();
    setWindowOpacity(fadeIn ? 0.0 : 1.0);
    orderFront();
    updateInputRegion();
    if (fadeIn)
        fadeTo(1.0, fadeInSeconds);
}

void QtToastPanel::fadeOut(Seconds duration)
{
    fadeTo(0.0, duration);
}

void QtToastPanel::orderOut()
{
    m_fade.stop();
    FloatingPanel::orderOut();
    setWindowOpacity(1.0);
}

void QtToastPanel::render(const ToastViewInput &input)
{
    m_topInset = input.topInset;
    m_state = input.state;
    m_host->setInput(input);
    updateInputRegion();
}

// With dowsel.toast debugging on, every repaint of the window (paint and flush to the
// screen) reports how long it took: bench/toast_frames.sh reads these lines.
bool QtToastPanel::event(QEvent *event)
{
    if (event->type() != QEvent::UpdateRequest || !lcToast().isDebugEnabled())
        return FloatingPanel::event(event);
    QElapsedTimer timer;
    timer.start();
    const bool handled = FloatingPanel::event(event);
    qCDebug(lcToast).noquote() << QStringLiteral("ToastPanel.frame: %1 us").arg(timer.nsecsElapsed() / 1000);
    return handled;
}

void QtToastPanel::resizeEvent(QResizeEvent *event)
{
    FloatingPanel::resizeEvent(event);
    m_host->setGeometry(rect());
    updateInputRegion();
}

void QtToastPanel::fadeTo(double opacity, Seconds duration)
{
    m_fade.stop();
    m_fade.setDuration(qRound(duration * 1000));
    m_fade.setStartValue(windowOpacity());
    m_fade.setEndValue(opacity);
    m_fade.start();
}

void QtToastPanel::updateInputRegion()
{
    QWindow *window = windowHandle();
    if (!window || !isTranslucent())
        return; // without a compositor the window's shape already limits the clicks
    const QRectF hit = panelgeometry::islandHitRect(size(), m_topInset, m_state);
    x11::setInputRegion(*window, hit.toAlignedRect().intersected(rect()));
}

void QtToastPanel::shapeToIsland()
{
    const DynamicIslandToastView::Frame &frame = m_host->view().frame();
    // No fade without a compositor: the island is there while it would be at least half
    // opaque, and gone otherwise, so a collapsing island never leaves a faint pill behind.
    const bool drawn = island::appearance(frame.expansion, frame.input.hasNotch).opacity >= 0.5;
    QRegion island = drawn ? QRegion(m_host->view().islandOutline().toFillPolygon().toPolygon()) : QRegion();
    // An empty mask would mean "no mask" and show the whole strip: cut to a pixel outside
    // the window instead, which leaves nothing of it on screen.
    if (island.isEmpty())
        island = QRegion(-2, -2, 1, 1);
    if (island == m_shape)
        return;
    m_shape = island;
    setMask(island);
}

} // namespace dowsel
