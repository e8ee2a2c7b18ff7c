#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

class QLineEdit;
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

// The query field at the top of an input panel: frameless, transparent, large text.
void styleQueryField(QLineEdit &field, QFont::Weight weight, const QString &placeholder);

// A key combination such as "Ctrl+N" or "Super+Shift+O" as one small rounded cap per key,
// Linux key names, as on the toast's badges and in the settings.
QSizeF keyCapSize(const QString &combination);
// Draws the caps with their right edge at `right`, centred on `centerY`; returns the
// rectangle they take.
QRectF paintKeyCap(QPainter &painter, double right, double centerY, const QString &combination);
// One horizontal hairline across `width` at `y`, as between the header and the rows.
void paintDivider(QPainter &painter, double y, double width);

} // namespace dowsel::surfacestyle
