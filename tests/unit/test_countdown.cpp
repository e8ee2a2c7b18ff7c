#include "ui/model/Countdown.h"

#include <gtest/gtest.h>

using namespace dowsel;

namespace {

constexpr Date now = 1'800'000'000.0;

CountdownContent contentAt(Seconds remaining)
{
    const auto content = countdownContent(now - 60, now + remaining, now);
    EXPECT_TRUE(content.has_value());
    return content.value_or(CountdownContent{});
}

TEST(Countdown, TextAndToneFollowTheTimeLeft)
{
    struct Case {
        Seconds remaining;
        const char *text;
        CountdownTone tone;
    };
    const Case cases[] = {
        {0, "Deleting…", CountdownTone::urgent},
        {-120, "Deleting…", CountdownTone::urgent}, // past due, not yet cleaned up
        {0.5, "<1m", CountdownTone::urgent},
        {59, "<1m", CountdownTone::urgent},
        {60, "1m", CountdownTone::urgent},
        {59 * 60, "59m", CountdownTone::urgent},
        {59 * 60 + 59, "59m", CountdownTone::urgent}, // minutes round down
        {3600, "1h", CountdownTone::soon},
        {2 * 3600 + 5 * 60, "2h 5m", CountdownTone::soon},
        {3 * 3600 - 1, "2h 59m", CountdownTone::soon},
        {3 * 3600, "3h", CountdownTone::calm},
        {26 * 3600, "26h", CountdownTone::calm},
        {30 * 3600 + 59, "30h", CountdownTone::calm},
        {999 * 86400, "23976h", CountdownTone::calm},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.remaining);
        const CountdownContent content = contentAt(c.remaining);
        EXPECT_EQ(content.text, QString::fromUtf8(c.text));
        EXPECT_EQ(content.tone, c.tone);
        EXPECT_GE(content.remaining, 0);
    }
}

TEST(Countdown, NoExpiryShowsNothing)
{
    EXPECT_FALSE(countdownContent(now, std::nullopt, now));
    EXPECT_FALSE(countdownContent(std::nullopt, std::nullopt, now));
    // A missing mark time still shows the countdown.
    EXPECT_EQ(countdownContent(std::nullopt, now + 45 * 60, now)->text, QStringLiteral("45m"));
}

TEST(Countdown, ProgressIsTheRemainingShareOfTheMarkedSpan)
{
    EXPECT_DOUBLE_EQ(countdownProgress(now - 300, now + 100, now), 0.25);
    EXPECT_DOUBLE_EQ(countdownProgress(now, now + 100, now), 1.0);
    EXPECT_DOUBLE_EQ(countdownProgress(now + 50, now + 100, now), 1.0); // clock moved back
    EXPECT_DOUBLE_EQ(countdownProgress(now - 300, now - 1, now), 0.0);
    EXPECT_DOUBLE_EQ(countdownProgress(now, now, now), 0.0);
    EXPECT_DOUBLE_EQ(countdownProgress(now + 10, now, now), 0.0);
    EXPECT_DOUBLE_EQ(countdownProgress(std::nullopt, now + 100, now), 0.0);
    EXPECT_DOUBLE_EQ(countdownProgress(now, std::nullopt, now), 0.0);
}

} // namespace
