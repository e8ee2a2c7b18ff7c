#pragma once

#include "toast/ToastHost.h"
#include "toast/gui/DynamicIslandToastHost.h"
#include "toast/gui/FloatingPanel.h"

#include <QPropertyAnimation>

namespace dowsel {

// The toast's own floating panel: as wide as the toast strip, showing the island at its top
// centre. Only the island (and a small margin) takes clicks; everywhere else the pointer
// reaches the windows below.
class QtToastPanel final : public FloatingPanel, public ToastPanel {
    Q_OBJECT
public:
    static constexpr double fadeInSeconds = 0.15;

    QtToastPanel(const Clock &clock, ThumbnailCache &thumbnails);

    DynamicIslandToastHost &host() { return *m_host; }

    bool isOnScreen() const override;
    void orderIn(bool fadeIn) override;
    void fadeOut(Seconds duration) override;
    void orderOut() override;
    void render(const ToastViewInput &input) override;

protected:
    bool event(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void fadeTo(double opacity, Seconds duration);
    void updateInputRegion();
    void shapeToIsland();

    DynamicIslandToastHost *m_host;
    QPropertyAnimation m_fade;
    double m_topInset = 0;
    QRegion m_shape;
    DynamicIslandToastState m_state = DynamicIslandToastState::hidden;
};

} // namespace dowsel
