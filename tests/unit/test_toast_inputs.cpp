#include "input/MoreMenuViewModel.h"
#include "input/TimeInputViewModel.h"

#include <gtest/gtest.h>

using namespace dowsel;

namespace {

const QLocale english(QLocale::English, QLocale::UnitedStates);

QDateTime localTime(int y, int mo, int d, int h, int mi)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi));
}

TEST(TimeInputViewModel, ParsesLiveAndPreviewsTheExpiry)
{
    TimeInputViewModel model;
    const QDateTime now = localTime(2025, 11, 14, 10, 0);

    model.setQuery(QStringLiteral("2"));
    EXPECT_FALSE(model.parsed());
    EXPECT_FALSE(model.expiryPreview(now, english));

    model.setQuery(QStringLiteral("2h"));
    ASSERT_TRUE(model.parsed());
    EXPECT_EQ(model.parsed()->echo, "2h");
    EXPECT_DOUBLE_EQ(model.parsed()->interval, 7200);
    const QString expected = "Expires " + english.toString(QTime(12, 0), QLocale::ShortFormat) + " today";
    EXPECT_EQ(model.expiryPreview(now, english), expected);

    model.reset();
    EXPECT_TRUE(model.query().isEmpty());
    EXPECT_FALSE(model.parsed());
}

TEST(TimeInputViewModel, PreviewNamesTheCalendarDay)
{
    const QString shortTime = english.toString(QTime(0, 20), QLocale::ShortFormat);
    // Thirty minutes at 23:50 is already tomorrow.
    EXPECT_EQ(expiryPreviewText(localTime(2025, 11, 14, 23, 50), localTime(2025, 11, 15, 0, 20), english),
              "Expires " + shortTime + " tomorrow");
    // Three days away: weekday, month and day.
    EXPECT_EQ(expiryPreviewText(localTime(2025, 11, 14, 9, 0), localTime(2025, 11, 17, 0, 20), english),
              "Expires Mon, Nov 17 at " + shortTime);
}

TEST(TimeInputViewModel, PreviewShowsNoSeconds)
{
    // The C locale's short format has seconds; German writes the time with dots in some
    // formats. Neither shows seconds in the preview.
    EXPECT_EQ(expiryPreviewText(localTime(2025, 11, 14, 10, 0), localTime(2025, 11, 14, 12, 54), QLocale::c()),
              "Expires 12:54 today");
    const QString german = expiryPreviewText(localTime(2025, 11, 14, 10, 0), localTime(2025, 11, 14, 12, 54),
                                             QLocale(QLocale::German, QLocale::Germany));
    EXPECT_TRUE(german.contains(QStringLiteral("12:54")) || german.contains(QStringLiteral("12.54"))) << german.toStdString();
    EXPECT_FALSE(german.contains(QStringLiteral(":00"))) << german.toStdString();
}

TEST(MoreMenuViewModel, SelectionClampsAtBothEndsAndNotifiesOnlyOnChange)
{
    MoreMenuViewModel model;
    ASSERT_EQ(model.items().size(), 4u);
    EXPECT_EQ(model.items()[1].title, "Share & Delete");
    EXPECT_TRUE(model.items()[3].isDestructive);
    int notifications = 0;
    QObject::connect(&model, &MoreMenuViewModel::selectedIndexChanged, [&] { ++notifications; });

    model.moveSelection(-1);
    EXPECT_EQ(model.selectedAction(), MoreMenuItem::Action::open);
    EXPECT_EQ(notifications, 0);

    for (int i = 0; i < 4; ++i)
        model.moveSelection(+1);
    EXPECT_EQ(model.selectedIndex(), 3);
    EXPECT_EQ(model.selectedAction(), MoreMenuItem::Action::delete_);
    EXPECT_EQ(notifications, 3); // the fourth press changed nothing

    model.setSelectedIndex(7);
    EXPECT_FALSE(model.selectedAction());
}

} // namespace
