#include "toast/gui/DynamicIslandToastHost.h"

#include "platform/Time.h"
#include "toast/IslandLayout.h"

#include <QCursor>
#include <QFile>

#include <algorithm>
#include <cmath>

namespace dowsel {

namespace {

constexpr int frameMilliseconds = 16;

} // namespace

DynamicIslandToastHost::DynamicIslandToastHost(const Clock &clock, ThumbnailCache &thumbnails, QWidget *parent)
    : QWidget(parent), m_clock(clock), m_view(new DynamicIslandToastView(this)),
      m_thumbnail(thumbnails, *this, [this] { pushFrame(); })
{
    m_frameTimer.setTimerType(Qt::PreciseTimer);
    m_frameTimer.setInterval(frameMilliseconds);
    connect(&m_frameTimer, &QTimer::timeout, this, &DynamicIslandToastHost::onFrameTimer);
    m_bumpReturn.setSingleShot(true);
    m_bumpReturn.setInterval(bumpReturnMilliseconds);
    connect(&m_bumpReturn, &QTimer::timeout, this, [this] {
        m_bump.animateTo(1.0, 0.45, 0.72);
        startFrames();
    });
}

void DynamicIslandToastHost::setInput(const ToastViewInput &input)
{
    const bool stateChanged = !m_hasInput || input.state != m_input.state;
    m_input = input;
    m_hasInput = true;
    if (stateChanged) {
        m_animatedState = input.state;
        m_expansion.animateTo(input.state == DynamicIslandToastState::visible ? 1 : 0, 0.45, 0.65);
    }

    const QString key = input.files.empty() ? QString() : input.files.front().id;
    if (key != m_contentKey && !m_contentKey.isEmpty() && m_animatedState == DynamicIslandToastState::visible) {
        m_bump.animateTo(island::bumpScale, 0.35, 0.6);
        m_bumpReturn.start();
    }
    m_contentKey = key;

    // The item carries the path as display text; thumbnails of names that are not valid
    // UTF-8 fall back to the file-type icon.
    m_thumbnail.follow(input.files.empty() ? QByteArray() : QFile::encodeName(input.files.front().filePath),
                       devicePixelRatioF());
    pushFrame();
    if (m_frameTimer.isActive())
        m_frameTimer.setInterval(frameInterval());
    startFrames();
}

void DynamicIslandToastHost::advance(double seconds)
{
    if (!isSpringing()) {
        // Only the ring runs: redraw the ring alone.
        pushRingProgress();
        return;
    }
    m_expansion.step(seconds);
    m_bump.step(seconds);
    const double swapTarget = m_input.isOptionHeld ? 1 : 0;
    const double swapStep = seconds / optionSwapSeconds;
    m_optionSwap = swapTarget > m_optionSwap ? std::min(swapTarget, m_optionSwap + swapStep)
                                             : std::max(swapTarget, m_optionSwap - swapStep);
    pushFrame();
}

bool DynamicIslandToastHost::isSpringing() const
{
    const bool swapping = m_optionSwap != (m_input.isOptionHeld ? 1.0 : 0.0);
    return !m_expansion.isSettled() || !m_bump.isSettled() || swapping;
}

bool DynamicIslandToastHost::needsFrames() const
{
    const bool ringMoving = island::isRingMoving(m_input.countdownDeadline, m_input.pausedProgress,
                                                 m_input.state == DynamicIslandToastState::visible, m_clock.now());
    return isSpringing() || (ringMoving && isVisible());
}

int DynamicIslandToastHost::frameInterval() const
{
    if (isSpringing())
        return frameMilliseconds;
    const double circumference = M_PI * island::ringSize * devicePixelRatioF();
    return std::clamp(int(m_input.countdownDuration * 1000 / circumference), frameMilliseconds, 250);
}

void DynamicIslandToastHost::startFrames()
{
    if (m_frameTimer.isActive() || !needsFrames() || !isVisible())
        return;
    m_sinceLastFrame.start();
    m_frameTimer.setInterval(frameInterval());
    m_frameTimer.start();
}

void DynamicIslandToastHost::onFrameTimer()
{
    const double seconds = std::min(m_sinceLastFrame.restart() / 1000.0, 0.1);
    const bool wasOpening = !m_expansion.isSettled() && m_animatedState == DynamicIslandToastState::visible;
    advance(seconds);
    if (wasOpening && m_expansion.isSettled() && isVisible())
        m_view->notePointerAt(QCursor::pos());
    if (!needsFrames()) {
        m_frameTimer.stop();
        return;
    }
    const int interval = frameInterval();
    if (interval != m_frameTimer.interval())
        m_frameTimer.setInterval(interval);
}

void DynamicIslandToastHost::pushRingProgress()
{
    m_view->setRingProgress(island::ringProgress(m_input.countdownDeadline, m_input.countdownDuration,
                                                 m_input.pausedProgress, m_clock.now()));
}

void DynamicIslandToastHost::pushFrame()
{
    DynamicIslandToastView::Frame frame;
    frame.input = m_input;
    frame.expansion = m_expansion.value();
    frame.bumpScale = m_bump.value();
    // Ease in and out over the swap.
    frame.optionSwap = m_optionSwap * m_optionSwap * (3 - 2 * m_optionSwap);
    frame.ringProgress = island::ringProgress(m_input.countdownDeadline, m_input.countdownDuration,
                                              m_input.pausedProgress, m_clock.now());
    frame.thumbnail = m_thumbnail.thumbnail();
    frame.thumbnailPath = m_thumbnail.path();
    m_view->setFrame(std::move(frame));
    Q_EMIT frameChanged();
}

void DynamicIslandToastHost::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    m_view->setGeometry(rect());
}

void DynamicIslandToastHost::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    startFrames();
}

void DynamicIslandToastHost::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    m_frameTimer.stop();
    m_bumpReturn.stop();
    m_bump.jumpTo(1);
}

} // namespace dowsel
