#include "expiry/DurationParser.h"

#include <QStringList>

#include <gtest/gtest.h>

using namespace dowsel;

namespace {

std::optional<double> secondsOf(const QString &text)
{
    const auto parsed = DurationParser::parse(text);
    if (!parsed)
        return std::nullopt;
    return parsed->interval;
}

struct Case {
    const char *text;
    std::optional<double> seconds;
};

void PrintTo(const Case &c, std::ostream *os)
{
    *os << "'" << c.text << "'";
}

class DurationParserCases : public ::testing::TestWithParam<Case> {};

TEST_P(DurationParserCases, ParsesToSeconds)
{
    const Case &c = GetParam();
    EXPECT_EQ(secondsOf(QString::fromUtf8(c.text)), c.seconds) << "input: '" << c.text << "'";
}

INSTANTIATE_TEST_SUITE_P(
    Vocabulary, DurationParserCases,
    ::testing::Values(
        // spacing, case and surrounding whitespace
        Case{"2h", 7200}, Case{"2 h", 7200}, Case{"2H", 7200}, Case{" 2 hours ", 7200}, Case{"\n\t2hours\n", 7200},
        // decimal point or comma
        Case{"1,5h", 5400}, Case{"1.5h", 5400}, Case{"1,5 horas", 5400},
        // several tokens add up, in any order, repeated
        Case{"1d4h", 100800}, Case{"1d 4h", 100800}, Case{"4h 1d", 100800}, Case{"1h 1h", 7200},
        // bare and trailing numbers
        Case{"30", std::nullopt}, Case{"2 hours 30", 7200},
        // one unknown word spoils everything
        Case{"2 fortnights", std::nullopt}, Case{"2h 3 xyz", std::nullopt}, Case{"2 mín", std::nullopt},
        Case{"2 months", std::nullopt},
        // zero tokens are skipped, not errors
        Case{"0h", std::nullopt}, Case{"0h 30m", 1800}, Case{"0.0h", std::nullopt},
        // the point and the sign are not part of the match
        Case{".5h", 18000}, Case{"-2h", 7200}, Case{"1.h", std::nullopt},
        // Spanish words, accents, upper-case accents
        Case{"3 días", 259200}, Case{"3 dias", 259200}, Case{"3 DÍAS", 259200}, Case{"2 semanas", 1209600},
        Case{"10 segundos", 10}, Case{"1 minuto", 60},
        // lead-in phrases, repeated
        Case{"in 2h", 7200}, Case{"for 2h", 7200}, Case{"for in 2h", 7200}, Case{"por 2 horas", 7200},
        Case{"durante 10 min", 600}, Case{"dentro de 3 días", 259200}, Case{"in", std::nullopt},
        Case{"in ", std::nullopt},
        // "m" is minutes
        Case{"1w", 604800}, Case{"5m", 300}, Case{"90 s", 90},
        // nothing at all
        Case{"", std::nullopt}, Case{"   \n ", std::nullopt}, Case{"soon", std::nullopt},
        // digits from another script are matched by the pattern but do not convert
        Case{"\u0662h", std::nullopt}));

TEST(DurationParser, DecomposedAccentsAreAccepted)
{
    // "días" typed as i + combining acute, as some input methods produce it
    EXPECT_EQ(secondsOf(QStringLiteral("3 di\u0301as")), 259200);
}

TEST(DurationParser, HugeNumbersAreNotDurations)
{
    EXPECT_EQ(secondsOf(QString(400, QLatin1Char('9')) + QStringLiteral("w")), std::nullopt);
    const auto big = DurationParser::parse(QStringLiteral("99999999999999 weeks"));
    ASSERT_TRUE(big);
    EXPECT_FALSE(big->echo.isEmpty());
}

TEST(DurationParser, EchoShowsAtMostTwoDescendingUnits)
{
    EXPECT_EQ(DurationParser::parse(QStringLiteral("2h"))->echo, QStringLiteral("2h"));
    EXPECT_EQ(DurationParser::parse(QStringLiteral("1d 4h"))->echo, QStringLiteral("1d 4h"));
    EXPECT_EQ(DurationParser::parse(QStringLiteral("90 min"))->echo, QStringLiteral("1h 30m"));
    EXPECT_EQ(DurationParser::parse(QStringLiteral("8 days"))->echo, QStringLiteral("1w 1d"));
    // the interval keeps the exact sum while the echo drops the smaller units
    const auto parsed = DurationParser::parse(QStringLiteral("1d 1h 1m 1s"));
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->interval, 90061);
    EXPECT_EQ(parsed->echo, QStringLiteral("1d 1h"));
    // zero units in the middle are dropped
    EXPECT_EQ(DurationParser::formatEcho(86460), QStringLiteral("1d 1m"));
    EXPECT_EQ(DurationParser::formatEcho(0.5), QString());
}

TEST(DurationParser, SubSecondTotalsFallBackToWholeSeconds)
{
    const auto parsed = DurationParser::parse(QStringLiteral("0.5s"));
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->interval, 0.5);
    EXPECT_EQ(parsed->echo, QStringLiteral("0s"));
}

TEST(DurationParser, TokensKeepTheMatchedWord)
{
    const auto tokens = DurationParser::tokenize(QStringLiteral("1,5horas 2 xyz 3"));
    ASSERT_EQ(tokens.size(), 2u);
    EXPECT_EQ(tokens[0].value, 1.5);
    EXPECT_EQ(tokens[0].unit, QStringLiteral("horas"));
    EXPECT_EQ(tokens[1].unit, QStringLiteral("xyz"));
}

TEST(DurationParser, VocabularyIsExactlyTheThirtySevenWords)
{
    const QStringList words = {
        "s", "sec", "secs", "second", "seconds", "seg", "segundo", "segundos", "m", "min", "mins", "minute", "minutes",
        "minuto", "minutos", "h", "hr", "hrs", "hour", "hours", "hora", "horas", "d", "day", "days", "día", "dia",
        "días", "dias", "w", "wk", "wks", "week", "weeks", "sem", "semana", "semanas"};
    EXPECT_EQ(words.size(), 37);
    for (const QString &word : words)
        EXPECT_TRUE(DurationParser::unitForWord(word)) << word.toStdString();
    for (const char *word : {"mo", "month", "y", "year", "mín", "hs", "sek"})
        EXPECT_FALSE(DurationParser::unitForWord(QString::fromUtf8(word))) << word;
}

} // namespace
