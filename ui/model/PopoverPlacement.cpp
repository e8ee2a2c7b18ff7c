#include "ui/model/PopoverPlacement.h"

#include <algorithm>

namespace dowsel {

QPoint popoverPosition(const QRect &anchor, const QSize &size, const QRect &available, int gap)
{
    const QRect icon = anchor.isValid() ? anchor : QRect(anchor.topLeft(), QSize(1, 1));
    int x = icon.center().x() - size.width() / 2;
    const bool iconInUpperHalf = icon.center().y() < available.center().y();
    int y = iconInUpperHalf ? icon.bottom() + 1 + gap : icon.top() - gap - size.height();
    x = std::clamp(x, available.left(), std::max(available.left(), available.right() + 1 - size.width()));
    y = std::clamp(y, available.top(), std::max(available.top(), available.bottom() + 1 - size.height()));
    return {x, y};
}

} // namespace dowsel
