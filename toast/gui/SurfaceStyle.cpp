#include "toast/gui/SurfaceStyle.h"

#include <QFontMetricsF>
#include <QLineEdit>
#include <QPainter>
#include <QPalette>
#include <QStringList>

namespace dowsel::surfacestyle {

namespace {

constexpr double keyCapPadding = 4;
constexpr double keyCapHeight = 16;
constexpr double keyCapSpacing = 2;

QFont keyCapFont()
{
    return font(10, QFont::Medium);
}

QStringList capsOf(const QString &combination)
{
    return combination.split(QLatin1Char('+'), Qt::SkipEmptyParts);
}

double capWidth(const QString &key)
{
    return QFontMetricsF(keyCapFont()).horizontalAdvance(key) + 2 * keyCapPadding;
}

} // namespace

QFont font(double pixelSize, QFont::Weight weight)
{
    QFont result;
    result.setPixelSize(qRound(pixelSize));
    result.setWeight(weight);
    return result;
}

QColor primary(double opacity)
{
    QColor color(Qt::white);
    color.setAlphaF(float(opacity));
    return color;
}

void styleQueryField(QLineEdit &field, QFont::Weight weight, const QString &placeholder)
{
    field.setFrame(false);
    field.setFont(font(17, weight));
    field.setPlaceholderText(placeholder);
    QPalette palette = field.palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    palette.setColor(QPalette::Text, primary());
    palette.setColor(QPalette::PlaceholderText, secondary());
    field.setPalette(palette);
}

QColor secondary()
{
    return primary(0.55);
}

QColor destructive(double opacity)
{
    QColor color(255, 69, 58);
    color.setAlphaF(float(opacity));
    return color;
}

QColor panelBackground()
{
    return QColor(24, 24, 26, 245);
}

QSizeF keyCapSize(const QString &combination)
{
    const QStringList keys = capsOf(combination);
    double width = keys.isEmpty() ? 0 : (keys.size() - 1) * keyCapSpacing;
    for (const QString &key : keys)
        width += capWidth(key);
    return {width, keyCapHeight};
}

QRectF paintKeyCap(QPainter &painter, double right, double centerY, const QString &combination)
{
    const QSizeF size = keyCapSize(combination);
    const QRectF all(right - size.width(), centerY - size.height() / 2, size.width(), size.height());
    painter.save();
    painter.setFont(keyCapFont());
    double x = all.left();
    for (const QString &key : capsOf(combination)) {
        const QRectF cap(x, all.top(), capWidth(key), all.height());
        painter.setPen(QPen(primary(0.12), 0.5));
        painter.setBrush(primary(0.08));
        painter.drawRoundedRect(cap.adjusted(0.25, 0.25, -0.25, -0.25), 4, 4);
        painter.setPen(secondary());
        painter.drawText(cap, Qt::AlignCenter, key);
        x = cap.right() + keyCapSpacing;
    }
    painter.restore();
    return all;
}

void paintDivider(QPainter &painter, double y, double width)
{
    painter.fillRect(QRectF(0, y, width, 1), primary(0.1));
}

} // namespace dowsel::surfacestyle
