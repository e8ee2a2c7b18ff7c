#pragma once

#include "move/MoveInputViewModel.h"

#include <QAbstractButton>
#include <QWidget>

#include <functional>

class QLineEdit;

namespace dowsel {

// "Browse" with its Ctrl+B key cap, in a capsule that brightens under the pointer. It never
// takes the keyboard from the search field.
class BrowseButton final : public QAbstractButton {
    Q_OBJECT
public:
    explicit BrowseButton(QWidget *parent = nullptr);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    bool m_hovered = false;
};

// The move input under the toast: a search field with a Browse button, the recent
// destinations or the best matches as breadcrumbs with the highlighted row, and the Create
// row for the folder the query names. Keys in the field: Up and Down move the highlight,
// Return (or keypad Enter) submits, Escape cancels, Ctrl+N creates, Ctrl+B browses.
// The view writes the typed text into the model at once; everything else goes out through
// the callbacks.
class MoveInputView final : public QWidget {
    Q_OBJECT
public:
    static constexpr int horizontalPadding = 18;
    static constexpr int fieldTop = 14;
    static constexpr int fieldHeight = 24;

    explicit MoveInputView(MoveInputViewModel &model, QWidget *parent = nullptr);

    std::function<void(const QString &query)> onQueryChanged;
    std::function<void()> onSubmit;
    std::function<void()> onCancel;
    std::function<void()> onCreateNew;
    std::function<void()> onBrowse;

    QLineEdit &field() const { return *m_field; }
    BrowseButton &browseButton() const { return *m_browse; }
    // Where row `index` and the Create row are drawn (empty when not shown).
    QRectF rowRect(qsizetype index) const;
    QRectF createRowRect() const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    bool handleKey(const QKeyEvent &event);
    void syncFromModel();
    void layoutHeader();
    double listBottom() const;
    qsizetype rowAt(QPointF point) const;
    void paintRow(QPainter &painter, qsizetype index, const QByteArray &path) const;
    void paintCreateRow(QPainter &painter) const;

    MoveInputViewModel &m_model;
    QLineEdit *m_field;
    BrowseButton *m_browse;
    qsizetype m_pressedRow = -1;
    bool m_pressedCreate = false;
};

} // namespace dowsel
