#pragma once

#include "toast/DampedSpring.h"
#include "toast/gui/DynamicIslandToastView.h"
#include "ui/FileThumbnailView.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

namespace dowsel {

class Clock;
class ThumbnailCache;

// Takes the controller's values for the island and animates them: the spring between
// collapsed and expanded, the bump when a new file takes the front, the Alt swap of the
// first badge and the running ring. Its frame timer runs only while something moves.
class DynamicIslandToastHost : public QWidget {
    Q_OBJECT
public:
    static constexpr double optionSwapSeconds = 0.12;
    static constexpr int bumpReturnMilliseconds = 120;

    DynamicIslandToastHost(const Clock &clock, ThumbnailCache &thumbnails, QWidget *parent = nullptr);

    void setInput(const ToastViewInput &input);
    DynamicIslandToastView &view() { return *m_view; }
    const QString &contentKey() const { return m_contentKey; }
    DynamicIslandToastState animatedState() const { return m_animatedState; }
    bool isAnimating() const { return m_frameTimer.isActive(); }
    // Milliseconds between frames now: every 16 while a spring or the Alt swap moves, and
    // while only the ring runs, the time its arc takes to move by about one pixel.
    int frameInterval() const;

    // Moves every animation on by `seconds` and redraws: the frame timer's step, callable
    // by tests to walk through an animation without waiting.
    void advance(double seconds);

Q_SIGNALS:
    // After every drawn frame; the panel reshapes itself when there is no compositor.
    void frameChanged();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void onFrameTimer();
    void startFrames();
    bool needsFrames() const;
    bool isSpringing() const;
    void pushFrame();
    void pushRingProgress();

    const Clock &m_clock;
    DynamicIslandToastView *m_view;
    ThumbnailRequest m_thumbnail;
    ToastViewInput m_input;
    bool m_hasInput = false;
    DynamicIslandToastState m_animatedState = DynamicIslandToastState::hidden;
    QString m_contentKey;
    DampedSpring m_expansion{0.45, 0.65, 0};
    DampedSpring m_bump{0.35, 0.6, 1};
    double m_optionSwap = 0;
    QTimer m_frameTimer;
    QTimer m_bumpReturn;
    QElapsedTimer m_sinceLastFrame;
};

} // namespace dowsel
