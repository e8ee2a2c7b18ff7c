#pragma once

#include "toast/gui/FloatingPanel.h"

#include <QPointer>
#include <QPropertyAnimation>

namespace dowsel {

// A floating panel under the toast with a dark rounded background and one content view
// filling it: the move input, the time input, the More menu or the practice hint. Without a
// compositor the window is shaped to its rounded outline.
class SurfacePanel final : public FloatingPanel {
    Q_OBJECT
public:
    static constexpr double fadeOutSeconds = 0.12;

    SurfacePanel(Role role, QSize initialSize);

    // Takes `content` (replacing and deleting an earlier one) and gives it the panel's focus.
    void setContent(QWidget *content);
    QWidget *content() const { return m_content; }

    // Fades the panel out, then orders it out and deletes it.
    void fadeOutAndDelete();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    QPointer<QWidget> m_content;
    QPropertyAnimation m_fade;
};

} // namespace dowsel
