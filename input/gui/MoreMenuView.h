#pragma once

#include "input/MoreMenuViewModel.h"

#include <QWidget>

#include <functional>

namespace dowsel {

// The More menu under the toast: Open, Share & Delete, Copy & Delete and Delete, each with
// its key cap. Up and Down move the selection, Return (or keypad Enter) runs it, Escape
// cancels; Super+Shift+O, S, C and Backspace run their row at once, as they do on the toast.
// The pointer selects the row under it and a click runs that row.
class MoreMenuView final : public QWidget {
    Q_OBJECT
public:
    explicit MoreMenuView(MoreMenuViewModel &model, QWidget *parent = nullptr);

    // A row chosen by click or by its Super+Shift key.
    std::function<void(MoreMenuItem::Action)> onSelect;
    std::function<void()> onActivateSelection;
    std::function<void()> onCancel;

    int panelHeight() const;
    QRectF rowRect(int index) const;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    int rowAt(QPointF point) const;
    void select(MoreMenuItem::Action action);

    MoreMenuViewModel &m_model;
};

} // namespace dowsel
