#include "input/gui/MoreMenuView.h"

#include "toast/PanelGeometry.h"
#include "toast/gui/SurfaceStyle.h"

#include <QIcon>
#include <QKeyEvent>
#include <QPainter>

namespace dowsel {

namespace st = surfacestyle;

namespace {

constexpr double rowInset = 8;
constexpr double innerMargin = 10;
constexpr double iconSize = 16;
constexpr double spacing = 10;

std::optional<MoreMenuItem::Action> superShiftAction(int key)
{
    switch (key) {
    case Qt::Key_O:
        return MoreMenuItem::Action::open;
    case Qt::Key_S:
        return MoreMenuItem::Action::shareAndDelete;
    case Qt::Key_C:
        return MoreMenuItem::Action::copyAndDelete;
    case Qt::Key_Backspace:
        return MoreMenuItem::Action::delete_;
    default:
        return std::nullopt;
    }
}

// "Super+Shift+O" as the toast's badges write it.
QString keyCapText(const QString &keycap)
{
    QString text = keycap;
    return text.replace(QStringLiteral("Shift"), QStringLiteral("⇧"));
}

} // namespace

MoreMenuView::MoreMenuView(MoreMenuViewModel &model, QWidget *parent) : QWidget(parent), m_model(model)
{
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    connect(&m_model, &MoreMenuViewModel::selectedIndexChanged, this, qOverload<>(&QWidget::update));
    resize(480, panelHeight());
}

int MoreMenuView::panelHeight() const
{
    return qRound(panelgeometry::moreMenuHeight(int(m_model.items().size())));
}

QRectF MoreMenuView::rowRect(int index) const
{
    if (index < 0 || index >= int(m_model.items().size()))
        return {};
    const double top = panelgeometry::moreMenuPadding / 2
                       + index * (panelgeometry::moreMenuRowHeight + panelgeometry::moreMenuRowSpacing);
    return {rowInset, top, width() - 2 * rowInset, panelgeometry::moreMenuRowHeight};
}

int MoreMenuView::rowAt(QPointF point) const
{
    for (int index = 0; index < int(m_model.items().size()); ++index) {
        if (rowRect(index).contains(point))
            return index;
    }
    return -1;
}

void MoreMenuView::select(MoreMenuItem::Action action)
{
    if (onSelect)
        onSelect(action);
}

void MoreMenuView::keyPressEvent(QKeyEvent *event)
{
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    if (modifiers == (Qt::MetaModifier | Qt::ShiftModifier)) {
        if (const auto action = superShiftAction(event->key())) {
            select(*action);
            return;
        }
    }
    if (modifiers == Qt::NoModifier) {
        switch (event->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (onActivateSelection)
                onActivateSelection();
            return;
        case Qt::Key_Escape:
            if (onCancel)
                onCancel();
            return;
        case Qt::Key_Down:
            m_model.moveSelection(1);
            return;
        case Qt::Key_Up:
            m_model.moveSelection(-1);
            return;
        default:
            break;
        }
    }
    QWidget::keyPressEvent(event);
}

void MoreMenuView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const std::vector<MoreMenuItem> &items = m_model.items();
    for (int index = 0; index < int(items.size()); ++index) {
        const MoreMenuItem &item = items[size_t(index)];
        const QRectF rect = rowRect(index);
        if (index == m_model.selectedIndex()) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(item.isDestructive ? st::destructive(0.12) : st::primary(0.12));
            painter.drawRoundedRect(rect, st::rowCornerRadius, st::rowCornerRadius);
        }
        const QColor color = item.isDestructive ? st::destructive() : st::primary();
        double x = rect.left() + innerMargin;
        const QRectF iconRect(x, rect.center().y() - iconSize / 2, iconSize, iconSize);
        QIcon::fromTheme(item.icon).paint(&painter, iconRect.toRect());
        x = iconRect.right() + spacing;
        const QRectF cap = st::paintKeyCap(painter, rect.right() - innerMargin, rect.center().y(),
                                           keyCapText(item.keycap));
        painter.setFont(st::font(13, QFont::Medium));
        painter.setPen(color);
        painter.drawText(QRectF(x, rect.top(), cap.left() - spacing - x, rect.height()),
                         Qt::AlignVCenter | Qt::AlignLeft, item.title);
    }
}

void MoreMenuView::mouseMoveEvent(QMouseEvent *event)
{
    if (const int row = rowAt(event->position()); row >= 0)
        m_model.setSelectedIndex(row);
}

void MoreMenuView::mouseReleaseEvent(QMouseEvent *event)
{
    const int row = rowAt(event->position());
    if (event->button() == Qt::LeftButton && row >= 0)
        select(m_model.items()[size_t(row)].action);
}

} // namespace dowsel
