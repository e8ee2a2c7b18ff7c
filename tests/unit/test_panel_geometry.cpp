#include "toast/IslandLayout.h"
#include "toast/PanelGeometry.h"

#include <gtest/gtest.h>

using namespace dowsel;
using namespace dowsel::panelgeometry;

namespace {

// A second monitor to the right of the first, with a 24-point panel strip at the top.
const QRectF screen{1920, 0, 2560, 1440};
const QRectF available{1920, 24, 2560, 1416};

TEST(PanelGeometry, ToastPanelHangsFromTheTopCentreOfItsScreen)
{
    const double band = topBandHeight(screen, available);
    EXPECT_EQ(band, 24);
    EXPECT_EQ(toastPanelFrame(screen, band), QRectF(1920 + 1280 - 410, 0, 820, 144));
    EXPECT_EQ(topBandHeight(screen, screen), 0) << "no top panel";
    EXPECT_EQ(topBandHeight(screen, QRectF(1920, -10, 2560, 1450)), 0) << "never negative";
}

TEST(PanelGeometry, SurfacesSitTwelvePointsUnderTheExpandedIsland)
{
    const double inset = 14;
    const QRectF move = surfacePanelFrame(screen, inset, 52);
    EXPECT_EQ(move, QRectF(1920 + 1280 - 250, 14 + 72 + 12, 500, 52));
    EXPECT_EQ(moreMenuHeight(4), 154);
    EXPECT_EQ(moreMenuHeight(1), 49);
    EXPECT_EQ(surfacePanelFrame(screen, inset, moreMenuHeight(4)).bottom(), 98 + 154);
    EXPECT_EQ(shareAnchorFrame(screen, inset), QRectF(3199, 86, 2, 2));
}

TEST(PanelGeometry, OnlyTheIslandAndItsMarginTakeClicks)
{
    const QSizeF panel(820, 144);
    const QRectF open = islandHitRect(panel, 14, DynamicIslandToastState::visible);
    EXPECT_EQ(open, QRectF(150 - 6, -6, 532, 98));
    EXPECT_FALSE(open.contains(QPointF(open.left() - 200, 40))) << "200 points left of the island";
    EXPECT_TRUE(open.contains(QPointF(410, 80)));

    const QRectF collapsed = islandHitRect(panel, 14, DynamicIslandToastState::hidden);
    EXPECT_EQ(collapsed.width(), 152);
    EXPECT_EQ(collapsed.center().x(), 410);
    EXPECT_EQ(collapsed.bottom(), 14 + 6);
    EXPECT_EQ(islandHitRect(panel, 0, DynamicIslandToastState::hidden).bottom(), 12 + 6)
        << "a collapsed island is at least 12 points tall";
}

TEST(IslandLayout, CollapsedIslandShrinksToANotchSizedPillAndFadesWithoutANotch)
{
    const island::Appearance open = island::appearance(1, false);
    EXPECT_DOUBLE_EQ(open.scaleX, 1);
    EXPECT_DOUBLE_EQ(open.scaleY, 1);
    EXPECT_DOUBLE_EQ(open.opacity, 1);
    const island::Appearance closed = island::appearance(0, false);
    EXPECT_DOUBLE_EQ(closed.scaleX * island::width, 140);
    EXPECT_DOUBLE_EQ(closed.scaleY, 0.15);
    EXPECT_DOUBLE_EQ(closed.opacity, 0);
    EXPECT_DOUBLE_EQ(island::appearance(0, true).opacity, 1);
    EXPECT_DOUBLE_EQ(island::appearance(1.06, false).opacity, 1) << "overshoot keeps opacity in range";
    EXPECT_GT(island::appearance(1.06, false).scaleX, 1);
    EXPECT_DOUBLE_EQ(island::height(14), 86);
}

TEST(IslandLayout, RingShowsTheFractionLeftAndStandsStillWhenPaused)
{
    const Date now = 1000;
    EXPECT_DOUBLE_EQ(island::ringProgress(now + 3.5, 7, std::nullopt, now), 0.5);
    EXPECT_DOUBLE_EQ(island::ringProgress(now + 20, 7, std::nullopt, now), 1) << "capped at a full ring";
    EXPECT_DOUBLE_EQ(island::ringProgress(now - 1, 7, std::nullopt, now), 0) << "deadline passed";
    EXPECT_DOUBLE_EQ(island::ringProgress(now + 3, 0, std::nullopt, now), 0) << "no duration";
    EXPECT_DOUBLE_EQ(island::ringProgress(now - 50, 7, 0.25, now), 0.25) << "paused ignores the deadline";

    EXPECT_TRUE(island::isRingMoving(now + 3, std::nullopt, true, now));
    EXPECT_FALSE(island::isRingMoving(now + 3, 0.4, true, now));
    EXPECT_FALSE(island::isRingMoving(now + 3, std::nullopt, false, now));
    EXPECT_FALSE(island::isRingMoving(now - 1, std::nullopt, true, now));
}

} // namespace
