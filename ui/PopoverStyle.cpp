#include "ui/PopoverStyle.h"

#include <QPainter>
#include <QPainterPath>

namespace dowsel::popoverstyle {

namespace {

QPixmap blankPixmap(int size, qreal devicePixelRatio)
{
    QPixmap pixmap(QSize(size, size) * devicePixelRatio);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    pixmap.fill(Qt::transparent);
    return pixmap;
}

} // namespace

QFont captionFont(const QFont &base)
{
    QFont font = base;
    if (base.pointSizeF() > 0)
        font.setPointSizeF(base.pointSizeF() * 0.85);
    else
        font.setPixelSize(std::max(9, int(base.pixelSize() * 0.85)));
    return font;
}

QFont headlineFont(const QFont &base)
{
    QFont font = base;
    font.setWeight(QFont::DemiBold);
    return font;
}

QColor secondaryText(const QPalette &palette)
{
    QColor color = palette.color(QPalette::WindowText);
    color.setAlphaF(0.55);
    return color;
}

QColor tint(const QPalette &palette)
{
    return palette.color(QPalette::Highlight);
}

QColor headerBackground(const QPalette &palette)
{
    QColor color = palette.color(QPalette::WindowText);
    color.setAlphaF(0.05);
    return color;
}

QColor hoverBackground(const QPalette &palette)
{
    QColor color = palette.color(QPalette::Highlight);
    color.setAlphaF(0.08);
    return color;
}

QColor divider(const QPalette &palette)
{
    QColor color = palette.color(QPalette::WindowText);
    color.setAlphaF(0.12);
    return color;
}

QColor countdownColor(CountdownTone tone, const QPalette &palette)
{
    switch (tone) {
    case CountdownTone::urgent:
        return red;
    case CountdownTone::soon:
        return orange;
    case CountdownTone::calm:
        break;
    }
    return secondaryText(palette);
}

void drawTrashSymbol(QPainter *painter, const QRectF &box, const QColor &color)
{
    painter->save();
    painter->setPen(QPen(color, 1.1, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->setBrush(Qt::NoBrush);
    const qreal w = box.width();
    const qreal h = box.height();
    painter->drawLine(QPointF(box.left(), box.top() + h * 0.2), QPointF(box.right(), box.top() + h * 0.2));
    painter->drawLine(QPointF(box.left() + w * 0.38, box.top()), QPointF(box.left() + w * 0.62, box.top()));
    QPainterPath can;
    can.moveTo(box.left() + w * 0.12, box.top() + h * 0.2);
    can.lineTo(box.left() + w * 0.22, box.bottom());
    can.lineTo(box.left() + w * 0.78, box.bottom());
    can.lineTo(box.left() + w * 0.88, box.top() + h * 0.2);
    painter->drawPath(can);
    painter->restore();
}

QPixmap checkCircle(int size, const QColor &color, bool filled, qreal devicePixelRatio)
{
    QPixmap pixmap = blankPixmap(size, devicePixelRatio);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal pen = std::max(1.2, size / 14.0);
    const QRectF circle = QRectF(0, 0, size, size).adjusted(pen, pen, -pen, -pen);
    QColor markColor = color;
    if (filled) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        painter.drawEllipse(circle);
        markColor = Qt::white;
    } else {
        painter.setPen(QPen(color, pen));
        painter.drawEllipse(circle);
    }
    painter.setPen(QPen(markColor, pen * 1.3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(QPolygonF({QPointF(size * 0.3, size * 0.52), QPointF(size * 0.45, size * 0.66),
                                    QPointF(size * 0.7, size * 0.36)}));
    return pixmap;
}

QPixmap warningTriangle(int size, const QColor &color, qreal devicePixelRatio)
{
    QPixmap pixmap = blankPixmap(size, devicePixelRatio);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath triangle;
    triangle.moveTo(size * 0.5, size * 0.06);
    triangle.lineTo(size * 0.96, size * 0.9);
    triangle.lineTo(size * 0.04, size * 0.9);
    triangle.closeSubpath();
    painter.fillPath(triangle, color);
    painter.setPen(QPen(Qt::white, std::max(1.2, size / 9.0), Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(size * 0.5, size * 0.36), QPointF(size * 0.5, size * 0.6));
    painter.drawPoint(QPointF(size * 0.5, size * 0.76));
    return pixmap;
}

} // namespace dowsel::popoverstyle
