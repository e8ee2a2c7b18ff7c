#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

class QPainter;

namespace dowsel::surfacestyle {

// The look shared by the panels under the toast: light text on a dark rounded panel that
// matches the black island.
inline constexpr double cornerRadius = 14;
inline constexpr double rowCornerRadius = 8;

QFont font(double pixelSize, QFont::Weight weight = QFont::Normal);
// Text and fills: white at `opacity`.
QColor primary(double opacity = 1);
QColor secondary();
QColor destructive(double opacity = 1);
QColor panelBackground();

// A key label such as "Ctrl+N" on a small rounded cap.
QSizeF keyCapSize(const QString &keys);
// Draws the cap with its right edge at `right`, centred on `centerY`; returns its rectangle.
QRectF paintKeyCap(QPainter &painter, double right, double centerY, const QString &keys);
// One horizontal hairline across `width` at `y`, as between the header and the rows.
void paintDivider(QPainter &painter, double y, double width);

} // namespace dowsel::surfacestyle
