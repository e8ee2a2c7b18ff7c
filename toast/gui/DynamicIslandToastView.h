#pragma once

#include "toast/ToastHost.h"

#include <QImage>
#include <QPainterPath>
#include <QVariantAnimation>
#include <QWidget>

#include <array>
#include <functional>

namespace dowsel {

// What the island's buttons and hover report; the host connects them to the controller
// through main-thread tasks.
struct ToastViewActions {
    std::function<void(bool isHovering)> onHoverChanged;
    std::function<void()> onMarkTemporary;
    std::function<void()> onCustomTime;
    std::function<void()> onMove;
    std::function<void()> onMore;
    std::function<void()> onTrashCopies;
};

// The notch outline: a full-width top edge, sides inset by `topCornerRadius` that meet it in
// concave curves, and bottom corners rounded by `bottomCornerRadius`.
QPainterPath dynamicIslandShape(const QRectF &rect, double topCornerRadius, double bottomCornerRadius);

// Draws the black island at the top centre of the widget: the first file's thumbnail with
// the stack count, its name, three shortcut badges and the countdown ring. It draws exactly
// the values it is given; DynamicIslandToastHost animates them.
class DynamicIslandToastView : public QWidget {
    Q_OBJECT
public:
    struct Frame {
        ToastViewInput input;
        double expansion = 0;     // 0 collapsed ... 1 expanded (a spring may overshoot)
        double bumpScale = 1;     // the nudge when a new file takes the front
        double optionSwap = 0;    // 0 "Mark temporary" ... 1 "Custom time…"
        double ringProgress = 0;  // fraction of the countdown left
        QImage thumbnail;         // null: the file-type icon
        QByteArray thumbnailPath; // for that icon
    };

    explicit DynamicIslandToastView(QWidget *parent = nullptr);

    void setFrame(Frame frame);
    // Only the ring moved: repaints the ring's square and nothing else.
    void setRingProgress(double progress);
    const Frame &frame() const { return m_frame; }
    ToastViewActions actions;

    bool isHovering() const { return m_isHovering; }
    // The island has just opened: a pointer already resting where it appeared counts as
    // hovering, though it has not moved (no enter event comes then).
    void notePointerAt(QPoint globalPosition);
    // The island's outline as drawn now, in widget coordinates.
    QPainterPath islandOutline() const;

protected:
    void paintEvent(QPaintEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    enum Badge { keepBadge, moveBadge, moreBadge, trashCopiesBadge, badgeCount };

    QTransform islandTransform() const;
    QRectF islandRect() const;
    QRectF ringRect(const QRectF &island) const;
    // Where the name and the badges end, 12 points before the ring's spacing.
    double middleRight(const QRectF &island) const;
    void layoutBadges();
    void setHovering(bool hovering);
    void animatePress(double to);
    int badgeAt(QPointF widgetPoint) const;
    void paintIsland(QPainter &painter);
    void paintBadges(QPainter &painter);
    void paintRing(QPainter &painter, const QRectF &rect) const;
    void paintStackCount(QPainter &painter, const QRectF &thumbnail) const;

    Frame m_frame;
    bool m_isHovering = false;
    int m_pressedBadge = -1;
    // The pressed badge eases down and back up over 0.08 s.
    int m_pressAnimatedBadge = -1;
    QVariantAnimation m_press;
    std::array<QRectF, badgeCount> m_badgeRects; // island coordinates
    QRectF m_customTimeRect;                     // the first badge with Alt held
    QRectF m_markTemporaryRect;                  // the first badge without
    double m_nameTop = 0;
    QRectF m_captionRect; // the line under the name; empty without one
    IslandCaption m_caption;
};

} // namespace dowsel
