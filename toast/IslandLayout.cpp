#include "toast/IslandLayout.h"

#include <algorithm>

namespace dowsel::island {

double height(double topInset)
{
    return topInset + 8 + thumbnailSize + bottomInset;
}

Appearance appearance(double expansion, bool hasNotch)
{
    Appearance result;
    result.scaleX = collapsedWidthScale + (1 - collapsedWidthScale) * expansion;
    result.scaleY = collapsedHeightScale + (1 - collapsedHeightScale) * expansion;
    result.opacity = hasNotch ? 1.0 : std::clamp(expansion, 0.0, 1.0);
    return result;
}

double ringProgress(Date deadline, Seconds duration, std::optional<double> pausedProgress, Date now)
{
    if (pausedProgress)
        return std::clamp(*pausedProgress, 0.0, 1.0);
    if (duration <= 0)
        return 0;
    return std::min(1.0, std::max(0.0, deadline - now) / duration);
}

bool isRingMoving(Date deadline, std::optional<double> pausedProgress, bool isActive, Date now)
{
    return isActive && !pausedProgress && deadline > now;
}

} // namespace dowsel::island
