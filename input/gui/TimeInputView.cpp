#include "input/gui/TimeInputView.h"

#include "platform/Time.h"
#include "toast/gui/SurfaceStyle.h"

#include <QFontMetricsF>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>

#include <cmath>

namespace dowsel {

namespace st = surfacestyle;

namespace {

constexpr int padding = 18;
constexpr int fieldTop = 14;
constexpr int fieldHeight = 24;
constexpr double statusTop = 44;
constexpr double statusHeight = 16;
constexpr double statusSpacing = 6;

const QString arrow = QStringLiteral("→");
const QString dot = QStringLiteral("·");

} // namespace

TimeInputView::TimeInputView(TimeInputViewModel &model, const Clock &clock, QWidget *parent)
    : QWidget(parent), m_model(model), m_clock(clock), m_field(new QLineEdit(this))
{
    st::styleQueryField(*m_field, QFont::Medium, tr("e.g. 2h, 30 min, 1d 4h"));
    m_field->setText(m_model.query());
    m_field->installEventFilter(this);
    setFocusProxy(m_field);

    connect(m_field, &QLineEdit::textEdited, this, [this](const QString &text) {
        m_model.setQuery(text);
        if (onQueryChanged)
            onQueryChanged();
    });
    connect(&m_model, &TimeInputViewModel::changed, this, &TimeInputView::syncFromModel);
    resize(480, panelHeight);
}

QString TimeInputView::statusText() const
{
    const QDateTime now = QDateTime::fromMSecsSinceEpoch(std::llround(m_clock.now() * 1000));
    const std::optional<QString> preview = m_model.expiryPreview(now);
    if (!m_model.parsed() || !preview)
        return TimeInputViewModel::hintText();
    return QStringList{arrow, m_model.parsed()->echo, dot, *preview}.join(QLatin1Char(' '));
}

bool TimeInputView::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_field || event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    const auto &key = static_cast<const QKeyEvent &>(*event);
    if ((key.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier)
        return false;
    const std::function<void()> *callback = nullptr;
    if (key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter)
        callback = &onSubmit;
    else if (key.key() == Qt::Key_Escape)
        callback = &onCancel;
    else
        return false;
    if (*callback)
        (*callback)();
    return true;
}

void TimeInputView::syncFromModel()
{
    if (m_field->text() != m_model.query())
        m_field->setText(m_model.query());
    update();
}

void TimeInputView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    m_field->setGeometry(padding, fieldTop, width() - 2 * padding, fieldHeight);
}

void TimeInputView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const QRectF line(padding, statusTop, width() - 2 * padding, statusHeight);
    const QDateTime now = QDateTime::fromMSecsSinceEpoch(std::llround(m_clock.now() * 1000));
    const std::optional<QString> preview = m_model.expiryPreview(now);
    if (!m_model.parsed() || !preview) {
        painter.setFont(st::font(11, QFont::Medium));
        painter.setPen(st::secondary());
        painter.drawText(line, Qt::AlignVCenter | Qt::AlignLeft, TimeInputViewModel::hintText());
        return;
    }
    // The arrow, the echo, a dot and the expiry, in a row.
    struct Piece {
        QString text;
        QFont font;
        QColor color;
    };
    const Piece pieces[] = {
        {arrow, st::font(10, QFont::DemiBold), st::secondary()},
        {m_model.parsed()->echo, st::font(12, QFont::DemiBold), st::primary()},
        {dot, st::font(11), st::secondary()},
        {*preview, st::font(11, QFont::Medium), st::secondary()},
    };
    double x = line.left();
    for (const auto &[text, font, color] : pieces) {
        const double width = QFontMetricsF(font).horizontalAdvance(text);
        painter.setFont(font);
        painter.setPen(color);
        painter.drawText(QRectF(x, line.top(), std::min(width + 1, line.right() - x), line.height()),
                         Qt::AlignVCenter | Qt::AlignLeft, text);
        x += width + statusSpacing;
        if (x >= line.right())
            break;
    }
}

} // namespace dowsel
