#pragma once

#include "ui/model/Countdown.h"

#include <QColor>
#include <QFont>
#include <QPalette>
#include <QPixmap>
#include <QRectF>

class QPainter;

// The popover's colours, fonts and the few symbols it draws itself, so it needs no icon files.
namespace dowsel::popoverstyle {

inline const QColor red{255, 59, 48};
inline const QColor orange{255, 149, 0};
inline const QColor green{52, 199, 89};

QFont captionFont(const QFont &base);
QFont headlineFont(const QFont &base);
QColor secondaryText(const QPalette &palette);
QColor tint(const QPalette &palette);
QColor headerBackground(const QPalette &palette);
QColor hoverBackground(const QPalette &palette);
QColor divider(const QPalette &palette);
QColor countdownColor(CountdownTone tone, const QPalette &palette);

void drawTrashSymbol(QPainter *painter, const QRectF &box, const QColor &color);
// A circle with a check mark, filled or outlined.
QPixmap checkCircle(int size, const QColor &color, bool filled, qreal devicePixelRatio = 1);
// A triangle with an exclamation mark.
QPixmap warningTriangle(int size, const QColor &color, qreal devicePixelRatio = 1);

} // namespace dowsel::popoverstyle
