#include "app/UserNotices.h"

#include <QStringList>

#include <gtest/gtest.h>

using namespace dowsel;

namespace {

TEST(UserNotices, RefusedExpiriesNameTheFileTheReasonAndWhereItStays)
{
    const Notice one = UserNotices::expiriesNotTrashed({{"/home/ana/Downloads/line\nbreak.pdf", "Read-only file system"}});
    EXPECT_EQ(one.summary, QStringLiteral("A file could not go to the Trash"));
    EXPECT_EQ(one.body, QStringLiteral("line\nbreak.pdf expired, but the Trash refused it: Read-only file system. "
                                       "It stays in /home/ana/Downloads."));

    // A launch that finds many: one notice, the first five named, the rest counted.
    std::vector<TrashFailure> many;
    for (int i = 1; i <= 7; ++i)
        many.push_back({"/d/f" + QByteArray::number(i) + ".txt", QStringLiteral("No space left on device")});
    const Notice notice = UserNotices::expiriesNotTrashed(many);
    EXPECT_EQ(notice.summary, QStringLiteral("7 files could not go to the Trash"));
    const QStringList lines = notice.body.split(u'\n');
    ASSERT_EQ(lines.size(), 7);
    EXPECT_EQ(lines[0], QStringLiteral("f1.txt: No space left on device"));
    EXPECT_EQ(lines[4], QStringLiteral("f5.txt: No space left on device"));
    EXPECT_EQ(lines[5], QStringLiteral("and 2 more"));
    EXPECT_FALSE(notice.body.contains(QStringLiteral("f6.txt")));
}

TEST(UserNotices, StoreNoticesSayWhatHappenedAndWhereTheOldFileIs)
{
    const Notice replaced =
        UserNotices::storeReplaced(QStringLiteral("database disk image is malformed"), QStringLiteral("/d/Sivra.damaged-x.sqlite"));
    EXPECT_EQ(replaced.urgency, Notice::Urgency::critical);
    EXPECT_TRUE(replaced.body.contains(QStringLiteral("(database disk image is malformed)")));
    EXPECT_TRUE(replaced.body.contains(QStringLiteral("moved to /d/Sivra.damaged-x.sqlite")));
    const Notice failing = UserNotices::storeWritesFailing(QStringLiteral("database or disk is full"));
    EXPECT_TRUE(failing.body.contains(QStringLiteral("database or disk is full")));
}

} // namespace
