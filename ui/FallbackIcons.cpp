#include "ui/FallbackIcons.h"

#include <QIcon>

namespace dowsel {

void installFallbackIcons()
{
    static const QString shipped = QStringLiteral(":/icons/fallback");
    QStringList paths = QIcon::fallbackSearchPaths();
    if (paths.contains(shipped))
        return;
    paths << shipped;
    QIcon::setFallbackSearchPaths(paths);
}

} // namespace dowsel
