#include "move/gui/MoveInputView.h"

#include "toast/gui/SurfaceStyle.h"

#include <QFontMetricsF>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QtMath>

namespace dowsel {

namespace st = surfacestyle;

namespace {

constexpr double rowInset = 8;
constexpr double rowTextInset = 10;
constexpr double listTopPadding = 7; // the divider and the space above the first row
constexpr double browseSpacing = 10;
const QString chevron = QStringLiteral("›");
const QString ellipsis = QStringLiteral("…");

QString browseKeys()
{
    return QStringLiteral("Ctrl+B");
}

QString createKeys()
{
    return QStringLiteral("Ctrl+N");
}

QFont segmentFont(bool isLast)
{
    return st::font(14, isLast ? QFont::DemiBold : QFont::Normal);
}

QFont chevronFont()
{
    return st::font(12, QFont::DemiBold);
}

constexpr double segmentGap = 6;

double breadcrumbWidth(const QStringList &pieces)
{
    double width = 0;
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        width += QFontMetricsF(segmentFont(i == pieces.size() - 1)).horizontalAdvance(pieces[i]);
        if (i + 1 < pieces.size())
            width += 2 * segmentGap + QFontMetricsF(chevronFont()).horizontalAdvance(chevron);
    }
    return width;
}

// Leading folders give way to "…" first; a last piece that is still too long is elided in
// its middle.
QStringList fitBreadcrumb(QStringList pieces, double width)
{
    while (pieces.size() > 2 && breadcrumbWidth(pieces) > width) {
        pieces.removeFirst();
        pieces.first() = ellipsis;
    }
    if (pieces.size() == 2 && pieces.first() != ellipsis && breadcrumbWidth(pieces) > width)
        pieces.first() = ellipsis;
    if (!pieces.isEmpty() && breadcrumbWidth(pieces) > width) {
        const double others =
            breadcrumbWidth(pieces) - QFontMetricsF(segmentFont(true)).horizontalAdvance(pieces.last());
        pieces.last() = QFontMetricsF(segmentFont(true)).elidedText(pieces.last(), Qt::ElideMiddle, width - others);
    }
    return pieces;
}

} // namespace

BrowseButton::BrowseButton(QWidget *parent) : QAbstractButton(parent)
{
    setFocusPolicy(Qt::NoFocus);
    setCursor(Qt::PointingHandCursor);
    setText(tr("Browse"));
}

QSize BrowseButton::sizeHint() const
{
    const double label = QFontMetricsF(st::font(12, QFont::Medium)).horizontalAdvance(text());
    return QSize(qCeil(10 + label + 6 + st::keyCapSize(browseKeys()).width() + 5), 24);
}

void BrowseButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF capsule = QRectF(rect()).adjusted(0.25, 0.25, -0.25, -0.25);
    painter.setPen(QPen(st::primary(0.12), 0.5));
    painter.setBrush(st::primary(m_hovered || isDown() ? 0.10 : 0.06));
    painter.drawRoundedRect(capsule, capsule.height() / 2, capsule.height() / 2);
    painter.setFont(st::font(12, QFont::Medium));
    painter.setPen(st::primary(isDown() ? 0.75 : 1));
    painter.drawText(QRectF(10, 0, width() - 10, height()), Qt::AlignVCenter | Qt::AlignLeft, text());
    st::paintKeyCap(painter, width() - 5, height() / 2.0, browseKeys());
}

void BrowseButton::enterEvent(QEnterEvent *event)
{
    QAbstractButton::enterEvent(event);
    m_hovered = true;
    update();
}

void BrowseButton::leaveEvent(QEvent *event)
{
    QAbstractButton::leaveEvent(event);
    m_hovered = false;
    update();
}

MoveInputView::MoveInputView(MoveInputViewModel &model, QWidget *parent)
    : QWidget(parent), m_model(model), m_field(new QLineEdit(this)), m_browse(new BrowseButton(this))
{
    st::styleQueryField(*m_field, QFont::DemiBold, tr("Move to…"));
    m_field->setText(m_model.query());
    m_field->installEventFilter(this);
    setFocusProxy(m_field);

    connect(m_field, &QLineEdit::textEdited, this, [this](const QString &text) {
        m_model.setQuery(text);
        if (onQueryChanged)
            onQueryChanged(text);
    });
    connect(m_browse, &QAbstractButton::clicked, this, [this] {
        if (onBrowse)
            onBrowse();
    });
    connect(&m_model, &MoveInputViewModel::changed, this, &MoveInputView::syncFromModel);
    resize(480, m_model.panelHeight());
}

QRectF MoveInputView::rowRect(qsizetype index) const
{
    if (index < 0 || index >= m_model.rowPaths().size())
        return {};
    const double top = MoveInputViewModel::headerHeight + listTopPadding
                       + double(index) * (MoveInputViewModel::rowHeight + MoveInputViewModel::rowSpacing);
    return {rowInset, top, width() - 2 * rowInset, double(MoveInputViewModel::rowHeight)};
}

double MoveInputView::listBottom() const
{
    const qsizetype rows = m_model.rowPaths().size();
    if (rows == 0)
        return MoveInputViewModel::headerHeight;
    return MoveInputViewModel::headerHeight + MoveInputViewModel::listPadding
           + double(rows) * MoveInputViewModel::rowHeight + double(rows - 1) * MoveInputViewModel::rowSpacing;
}

QRectF MoveInputView::createRowRect() const
{
    if (!m_model.showsCreateRow())
        return {};
    return {rowInset, listBottom() + 1, width() - 2 * rowInset, MoveInputViewModel::createRowHeight - 1.0};
}

bool MoveInputView::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_field && event->type() == QEvent::KeyPress)
        return handleKey(static_cast<const QKeyEvent &>(*event));
    return QWidget::eventFilter(watched, event);
}

bool MoveInputView::handleKey(const QKeyEvent &event)
{
    const auto call = [](const std::function<void()> &callback) {
        if (callback)
            callback();
        return true;
    };
    const Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeypadModifier;
    if (modifiers == Qt::ControlModifier) {
        if (event.key() == Qt::Key_N)
            return call(onCreateNew);
        if (event.key() == Qt::Key_B)
            return call(onBrowse);
        return false;
    }
    if (modifiers != Qt::NoModifier)
        return false;
    switch (event.key()) {
    case Qt::Key_Up:
        m_model.moveSelection(-1);
        return true;
    case Qt::Key_Down:
        m_model.moveSelection(1);
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return call(onSubmit);
    case Qt::Key_Escape:
        return call(onCancel);
    default:
        return false;
    }
}

void MoveInputView::syncFromModel()
{
    // Only a change from outside (a reset) replaces the text, so typing keeps its caret.
    if (m_field->text() != m_model.query())
        m_field->setText(m_model.query());
    update();
}

void MoveInputView::layoutHeader()
{
    const QSize browse = m_browse->sizeHint();
    const int browseLeft = width() - horizontalPadding - browse.width();
    m_browse->setGeometry(browseLeft, fieldTop + (fieldHeight - browse.height()) / 2, browse.width(), browse.height());
    m_field->setGeometry(horizontalPadding, fieldTop, browseLeft - int(browseSpacing) - horizontalPadding, fieldHeight);
}

void MoveInputView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    layoutHeader();
}

qsizetype MoveInputView::rowAt(QPointF point) const
{
    const qsizetype rows = m_model.rowPaths().size();
    for (qsizetype index = 0; index < rows; ++index) {
        if (rowRect(index).contains(point))
            return index;
    }
    return -1;
}

void MoveInputView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const QList<QByteArray> rows = m_model.rowPaths();
    if (!rows.isEmpty()) {
        st::paintDivider(painter, MoveInputViewModel::headerHeight, width());
        for (qsizetype index = 0; index < rows.size(); ++index)
            paintRow(painter, index, rows[index]);
    }
    if (m_model.showsCreateRow())
        paintCreateRow(painter);
}

void MoveInputView::paintRow(QPainter &painter, qsizetype index, const QByteArray &path) const
{
    const QRectF rect = rowRect(index);
    if (index == m_model.selectedIndex()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(st::primary(0.10));
        painter.drawRoundedRect(rect, st::rowCornerRadius, st::rowCornerRadius);
    }
    const QStringList pieces = fitBreadcrumb(m_model.breadcrumb(path), rect.width() - 2 * rowTextInset);
    double x = rect.left() + rowTextInset;
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        const bool isLast = i == pieces.size() - 1;
        painter.setFont(segmentFont(isLast));
        painter.setPen(st::primary(isLast ? 1 : 0.85));
        const double pieceWidth = QFontMetricsF(segmentFont(isLast)).horizontalAdvance(pieces[i]);
        painter.drawText(QRectF(x, rect.top(), pieceWidth + 1, rect.height()), Qt::AlignVCenter | Qt::AlignLeft,
                         pieces[i]);
        x += pieceWidth;
        if (isLast)
            break;
        x += segmentGap;
        painter.setFont(chevronFont());
        painter.setPen(st::secondary());
        const double chevronWidth = QFontMetricsF(chevronFont()).horizontalAdvance(chevron);
        painter.drawText(QRectF(x, rect.top(), chevronWidth + 1, rect.height()), Qt::AlignCenter, chevron);
        x += chevronWidth + segmentGap;
    }
}

void MoveInputView::paintCreateRow(QPainter &painter) const
{
    const QRectF rect = createRowRect();
    st::paintDivider(painter, rect.top() - 1, width());
    const MoveInputViewModel::NewFolder folder = m_model.newFolder();
    const QFont labelFont = st::font(11, QFont::Medium);
    const QString label = folder.path ? tr("Create") : tr("Cannot create");
    double x = rect.left() + rowTextInset;
    painter.setFont(labelFont);
    painter.setPen(st::secondary());
    const double labelWidth = QFontMetricsF(labelFont).horizontalAdvance(label);
    painter.drawText(QRectF(x, rect.top(), labelWidth + 1, rect.height()), Qt::AlignVCenter | Qt::AlignLeft, label);
    x += labelWidth + 6;

    if (!folder.path) {
        // Why nothing can be made: in the path's place, and no key to press.
        const QFont reasonFont = st::font(11, QFont::Normal);
        const double room = rect.right() - rowTextInset - x;
        painter.setFont(reasonFont);
        painter.setPen(st::primary(0.85));
        painter.drawText(QRectF(x, rect.top(), room, rect.height()), Qt::AlignVCenter | Qt::AlignLeft,
                         QFontMetricsF(reasonFont).elidedText(folder.refusal, Qt::ElideRight, room));
        return;
    }
    const QRectF cap = st::paintKeyCap(painter, rect.right() - rowTextInset, rect.center().y(), createKeys());
    double right = cap.left() - 8;
    if (folder.wordsJoined) {
        // Several words make one name; say how to get nested folders instead.
        const QFont hintFont = st::font(11, QFont::Normal);
        const QString hint = tr("one name; type / to nest");
        const double hintWidth = QFontMetricsF(hintFont).horizontalAdvance(hint);
        if (hintWidth < (right - x) / 2) {
            right -= hintWidth;
            painter.setFont(hintFont);
            painter.setPen(st::secondary());
            painter.drawText(QRectF(right, rect.top(), hintWidth + 1, rect.height()), Qt::AlignVCenter | Qt::AlignLeft,
                             hint);
            right -= 8;
        }
    }
    const QFont pathFont = st::font(11, QFont::DemiBold);
    const QString path =
        QFontMetricsF(pathFont).elidedText(m_model.displayPath(*folder.path), Qt::ElideMiddle, right - x);
    painter.setFont(pathFont);
    painter.setPen(st::primary());
    painter.drawText(QRectF(x, rect.top(), right - x, rect.height()), Qt::AlignVCenter | Qt::AlignLeft, path);
}

void MoveInputView::mousePressEvent(QMouseEvent *event)
{
    m_pressedRow = event->button() == Qt::LeftButton ? rowAt(event->position()) : -1;
    m_pressedCreate = event->button() == Qt::LeftButton && createRowRect().contains(event->position());
    m_field->setFocus();
}

void MoveInputView::mouseReleaseEvent(QMouseEvent *event)
{
    const qsizetype pressedRow = std::exchange(m_pressedRow, -1);
    const bool pressedCreate = std::exchange(m_pressedCreate, false);
    if (pressedRow >= 0 && rowAt(event->position()) == pressedRow) {
        m_model.setSelectedIndex(pressedRow);
        if (onSubmit)
            onSubmit();
    } else if (pressedCreate && createRowRect().contains(event->position()) && m_model.newFolderURL()
               && onCreateNew) {
        onCreateNew();
    }
}

} // namespace dowsel
