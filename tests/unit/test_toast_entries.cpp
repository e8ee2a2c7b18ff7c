#include "toast/ToastEntry.h"

#include <gtest/gtest.h>

#include <set>

using namespace dowsel;

namespace {

TEST(ToastFileItems, SizeTextFollowsTheSnapshotNotTheDisk)
{
    const std::vector<ToastEntry> entries{
        {.id = 11, .fileName = "report.pdf", .filePath = "/d/report.pdf", .fileSize = 12'300'000},
        {.id = 12, .fileName = "unpacked", .filePath = "/d/unpacked", .fileSize = 0},
        {.id = 13, .fileName = "empty.txt", .filePath = "/d/empty.txt", .fileSize = 0}, // a 0-byte file reads as folder
        {.id = 14, .fileName = "", .filePath = "", .fileSize = 0},
    };
    const auto items = makeToastFileItems(entries);
    ASSERT_EQ(items.size(), 4u);
    EXPECT_EQ(items[0].fileSize, "12.3 MB");
    EXPECT_EQ(items[1].fileSize, "Folder");
    EXPECT_EQ(items[2].fileSize, "Folder");
    EXPECT_EQ(items[3].fileSize, "Zero KB"); // no path: the zero text, not "Folder"
}

TEST(ToastFileItems, IndexFollowsArrivalOrderAndIdsAreDistinct)
{
    std::vector<ToastEntry> entries{{.id = 7, .fileName = "c", .filePath = "/d/c", .fileSize = 1},
                                    {.id = 3, .fileName = "a", .filePath = "/d/a", .fileSize = 2},
                                    {.id = 5, .fileName = "b", .filePath = "/d/b", .fileSize = 3}};
    auto items = makeToastFileItems(entries);
    ASSERT_EQ(items.size(), 3u);
    std::set<QString> ids;
    for (size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(items[i].index, int(i) + 1);
        EXPECT_EQ(items[i].fileName, QString::fromLatin1(entries[i].fileName));
        ids.insert(items[i].id);
    }
    EXPECT_EQ(ids.size(), 3u);
    EXPECT_EQ(items[0].id, "7");

    entries = {{.id = 9, .fileName = "new", .filePath = "/d/new", .fileSize = 1}};
    items = makeToastFileItems(entries);
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].index, 1);
}

TEST(ToastFileItems, OddNamesAreShownWithoutLosingTheEntry)
{
    const QByteArray name("bad\xff name\n\"q\".pdf");
    const auto items = makeToastFileItems({{.id = 1, .fileName = name, .filePath = "/d/" + name, .fileSize = 5}});
    ASSERT_EQ(items.size(), 1u);
    EXPECT_TRUE(items[0].fileName.contains(QStringLiteral("\"q\".pdf")));
    EXPECT_TRUE(items[0].fileName.startsWith(QStringLiteral("bad")));
    EXPECT_EQ(items[0].fileSize, "5 bytes");
}

} // namespace
