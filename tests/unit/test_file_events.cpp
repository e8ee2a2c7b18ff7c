#include "core/EventCoalescer.h"
#include "core/FileEvent.h"
#include "core/FileEventStream.h"
#include "platform/fake/Executors.h"
#include "platform/fake/VirtualClock.h"

#include <gtest/gtest.h>

using namespace dowsel;

namespace {

FileEvent fileEvent(QByteArray path, std::uint64_t inode, FSEventFlags flags)
{
    return FileEvent{std::move(path), inode, flags};
}

TEST(FSEventFlags, DescriptionListsMembersInFixedOrder)
{
    EXPECT_EQ(flagDescription(FSEventFlags(0x00010100)), QStringLiteral("created, isFile"));
    EXPECT_EQ(flagDescription(FSEventFlags(0x00020A01)), QStringLiteral("removed, renamed, isDir, mustScan"));
    EXPECT_EQ(flagDescription(FSEventFlags(0x00031B01)),
              QStringLiteral("created, removed, renamed, modified, isFile, isDir, mustScan"));
    // Unnamed bits travel in the word but are not described.
    const FSEventFlags unnamed(0x00400000);
    EXPECT_EQ(flagDescription(unnamed), QString());
    EXPECT_EQ((unnamed | FSEventFlags::isFile).rawValue, 0x00410000u);
    EXPECT_TRUE((FSEventFlags{FSEventFlags::created, FSEventFlags::isDir}).contains(FSEventFlags::isDir));
    EXPECT_FALSE((FSEventFlags{FSEventFlags::created, FSEventFlags::isDir})
                     .subtracting(FSEventFlags::isDir)
                     .contains(FSEventFlags::isDir));
}

class CoalescerTest : public ::testing::Test {
protected:
    VirtualClock clock{5000.0};
    InlineExecutor executor;
    std::vector<std::vector<FileEvent>> batches;
    EventCoalescer coalescer{clock, clock, executor,
                             [this](std::vector<FileEvent> batch) { batches.push_back(std::move(batch)); }};
};

TEST_F(CoalescerTest, FirstEventsAfterQuietGoOutAtOnceLaterOnesWaitForTheLatency)
{
    coalescer.add({fileEvent("/d/a", 1, FSEventFlags::created)});
    ASSERT_EQ(batches.size(), 1u);
    EXPECT_DOUBLE_EQ(batches[0][0].timestamp, 5000.0);

    clock.advance(0.1);
    coalescer.add({fileEvent("/d/b", 2, FSEventFlags::created)});
    clock.advance(0.1);
    coalescer.add({fileEvent("/d/c", 3, FSEventFlags::created), fileEvent("/d/e", 4, FSEventFlags::created)});
    EXPECT_EQ(batches.size(), 1u);
    EXPECT_EQ(coalescer.pendingCount(), 3u);

    clock.advance(0.0999); // 0.2999 s after the first delivery
    EXPECT_EQ(batches.size(), 1u);
    clock.advance(0.0001);
    ASSERT_EQ(batches.size(), 2u);
    ASSERT_EQ(batches[1].size(), 3u);
    EXPECT_EQ(batches[1][0].path, "/d/b");
    EXPECT_EQ(batches[1][2].path, "/d/e");
    for (const FileEvent &event : batches[1])
        EXPECT_DOUBLE_EQ(event.timestamp, batches[1][0].timestamp);
    EXPECT_NEAR(batches[1][0].timestamp, 5000.3, 1e-9);

    // Right after a delivery the next event waits again; after a quiet spell it does not.
    coalescer.add({fileEvent("/d/f", 5, FSEventFlags::created)});
    EXPECT_EQ(batches.size(), 2u);
    clock.advance(0.3);
    EXPECT_EQ(batches.size(), 3u);
    clock.advance(10);
    coalescer.add({fileEvent("/d/g", 6, FSEventFlags::created)});
    EXPECT_EQ(batches.size(), 4u);
    EXPECT_EQ(clock.pendingCount(), 0u);
}

TEST_F(CoalescerTest, MergesOnlyConsecutiveEventsOfTheSameItem)
{
    clock.advance(1);
    coalescer.add({fileEvent("/d/first", 1, FSEventFlags::created)}); // delivered at once
    coalescer.add({
        fileEvent("/d/x", 7, {FSEventFlags::created, FSEventFlags::isFile}),
        fileEvent("/d/x", 7, {FSEventFlags::modified, FSEventFlags::isFile}),
        fileEvent("/d/x", 7, {FSEventFlags::removed, FSEventFlags::isFile}),
        fileEvent("/d/x", 8, {FSEventFlags::created, FSEventFlags::isFile}), // same name, new item
        fileEvent("/d/y", 9, {FSEventFlags::modified, FSEventFlags::isFile}),
        fileEvent("/d/x", 8, {FSEventFlags::modified, FSEventFlags::isFile}), // not next to its twin
    });
    clock.advance(0.3);
    ASSERT_EQ(batches.size(), 2u);
    const auto &batch = batches[1];
    ASSERT_EQ(batch.size(), 4u);
    EXPECT_EQ(
        batch[0].flags,
        (FSEventFlags{FSEventFlags::created, FSEventFlags::modified, FSEventFlags::removed, FSEventFlags::isFile}));
    EXPECT_EQ(batch[1].inode, 8u);
    EXPECT_EQ(batch[1].flags, (FSEventFlags{FSEventFlags::created, FSEventFlags::isFile}));
    EXPECT_EQ(batch[2].path, "/d/y");
    EXPECT_EQ(batch[3].inode, 8u);
}

TEST(FileEventStream, KeepsEveryEventInOrderUntilTheConsumerGetsToThem)
{
    auto stream = std::make_shared<FileEventStream>();
    stream->yield({fileEvent("/d/1", 1, FSEventFlags::created)}); // before any consumer
    ManualExecutor busyWorker;
    std::vector<QByteArray> seen;
    stream->setConsumer(&busyWorker, [&](const FileEvent &event) { seen.push_back(event.path); });
    for (int i = 2; i <= 500; ++i)
        stream->yield({fileEvent("/d/" + QByteArray::number(i), std::uint64_t(i), FSEventFlags::created)});
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(busyWorker.queued(), 1u); // one delivery task, however many events
    busyWorker.runAll();
    ASSERT_EQ(seen.size(), 500u);
    for (int i = 0; i < 500; ++i)
        ASSERT_EQ(seen[size_t(i)], "/d/" + QByteArray::number(i + 1));

    stream->yield({fileEvent("/d/queued", 1, FSEventFlags::created)});
    stream->finish();
    stream->yield({fileEvent("/d/after-finish", 1, FSEventFlags::created)});
    busyWorker.runAll();
    EXPECT_EQ(seen.back(), "/d/queued");
    EXPECT_EQ(seen.size(), 501u);
    EXPECT_TRUE(stream->isFinished());
}

TEST(FileEventStream, DetachedConsumerGetsNothingMore)
{
    auto stream = std::make_shared<FileEventStream>();
    InlineExecutor executor;
    int calls = 0;
    stream->setConsumer(&executor, [&](const FileEvent &) { ++calls; });
    stream->yield({fileEvent("/d/a", 1, FSEventFlags::created)});
    stream->setConsumer(nullptr, {});
    stream->yield({fileEvent("/d/b", 2, FSEventFlags::created)});
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(stream->queuedCount(), 1u);
}

} // namespace
