#include "toast/gui/SurfaceStyle.h"

#include <QFontMetricsF>
#include <QPainter>

namespace dowsel::surfacestyle {

namespace {

constexpr double keyCapPadding = 5;
constexpr double keyCapHeight = 16;

QFont keyCapFont()
{
    return font(10, QFont::Medium);
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

QSizeF keyCapSize(const QString &keys)
{
    return {QFontMetricsF(keyCapFont()).horizontalAdvance(keys) + 2 * keyCapPadding, keyCapHeight};
}

QRectF paintKeyCap(QPainter &painter, double right, double centerY, const QString &keys)
{
    const QSizeF size = keyCapSize(keys);
    const QRectF cap(right - size.width(), centerY - size.height() / 2, size.width(), size.height());
    painter.save();
    painter.setPen(QPen(primary(0.12), 0.5));
    painter.setBrush(primary(0.08));
    painter.drawRoundedRect(cap.adjusted(0.25, 0.25, -0.25, -0.25), 4, 4);
    painter.setFont(keyCapFont());
    painter.setPen(secondary());
    painter.drawText(cap, Qt::AlignCenter, keys);
    painter.restore();
    return cap;
}

void paintDivider(QPainter &painter, double y, double width)
{
    painter.fillRect(QRectF(0, y, width, 1), primary(0.1));
}

} // namespace dowsel::surfacestyle
