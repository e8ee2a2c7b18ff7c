#pragma once

#include "input/TimeInputViewModel.h"

#include <QWidget>

#include <functional>

class QLineEdit;

namespace dowsel {

class Clock;

// The custom keep-time input under the toast: a field for a duration and, under it, either
// the hint with examples or what was understood with the expiry it leads to. The text goes
// into the model, parsed, on every edit; Return (or keypad Enter) submits, Escape cancels.
class TimeInputView final : public QWidget {
    Q_OBJECT
public:
    static constexpr int panelHeight = 72;

    TimeInputView(TimeInputViewModel &model, const Clock &clock, QWidget *parent = nullptr);

    std::function<void()> onQueryChanged;
    std::function<void()> onSubmit;
    std::function<void()> onCancel;

    QLineEdit &field() const { return *m_field; }
    // The status line as drawn now: the hint, or "→ 2h · Expires 3:45 PM today".
    QString statusText() const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void syncFromModel();

    TimeInputViewModel &m_model;
    const Clock &m_clock;
    QLineEdit *m_field;
};

} // namespace dowsel
