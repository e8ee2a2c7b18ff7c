#include "toast/PanelGeometry.h"

#include <algorithm>

namespace dowsel::panelgeometry {

namespace {

constexpr double expandedIslandWidth = 520;
constexpr double collapsedIslandWidth = 140;
constexpr double collapsedIslandMinHeight = 12;

} // namespace

double topBandHeight(const QRectF &screenFrame, const QRectF &availableFrame)
{
    return std::max(0.0, availableFrame.top() - screenFrame.top());
}

double expandedIslandBottom(double topInset)
{
    return topInset + 8 + 52 + 12;
}

QRectF toastPanelFrame(const QRectF &screenFrame, double topBand)
{
    return {screenFrame.center().x() - toastPanelWidth / 2, screenFrame.top(), toastPanelWidth,
            topBand + toastPanelExtraHeight};
}

QRectF surfacePanelFrame(const QRectF &screenFrame, double topInset, double height)
{
    return {screenFrame.center().x() - surfacePanelWidth / 2,
            screenFrame.top() + expandedIslandBottom(topInset) + surfaceGap, surfacePanelWidth, height};
}

double moreMenuHeight(int rows)
{
    if (rows <= 0)
        return moreMenuPadding;
    return rows * moreMenuRowHeight + (rows - 1) * moreMenuRowSpacing + moreMenuPadding;
}

QRectF shareAnchorFrame(const QRectF &screenFrame, double topInset)
{
    return {screenFrame.center().x() - 1, screenFrame.top() + expandedIslandBottom(topInset), 2, 2};
}

QRectF islandHitRect(const QSizeF &panelSize, double topInset, DynamicIslandToastState state)
{
    const bool visible = state == DynamicIslandToastState::visible;
    const double height = visible ? expandedIslandBottom(topInset) : std::max(topInset, collapsedIslandMinHeight);
    const double width = visible ? expandedIslandWidth : collapsedIslandWidth;
    return {(panelSize.width() - width) / 2 - hitMargin, -hitMargin, width + 2 * hitMargin, height + 2 * hitMargin};
}

} // namespace dowsel::panelgeometry
