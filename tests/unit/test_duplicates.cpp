#include "StoreTestSupport.h"

#include "core/DuplicateFinder.h"
#include "core/WorkerThread.h"
#include "platform/fake/Executors.h"

#include <QTemporaryDir>

#include <sys/stat.h>
#include <sys/time.h>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

class Duplicates : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        folder = QFile::encodeName(dir.path()) + "/Downloads";
        ASSERT_EQ(::mkdir(folder.constData(), 0755), 0);
    }

    // Writes a file that arrives after every file written before (see nextTick).
    QByteArray file(const QByteArray &name, const QByteArray &content, int ageSeconds = 0)
    {
        nextTick();
        const QByteArray path = joinPath(folder, name);
        EXPECT_NE(writeFile(path, content), 0u) << name.constData();
        if (ageSeconds > 0) {
            struct timeval times[2];
            ::gettimeofday(&times[0], nullptr);
            times[0].tv_sec -= ageSeconds;
            times[1] = times[0];
            EXPECT_EQ(::utimes(path.constData(), times), 0);
        }
        lastChange = statPath(path).value_or(FileStatus{}).changedNs;
        return path;
    }

    // The kernel stamps status changes with a clock that moves every few milliseconds; files
    // written within one tick would share their time. Waits until the clock has moved on.
    void nextTick()
    {
        const QByteArray probe = QFile::encodeName(dir.path()) + "/.tick";
        for (;;) {
            writeFile(probe, "tick");
            if (statPath(probe).value_or(FileStatus{}).changedNs > lastChange)
                break;
            ::usleep(500);
        }
        ::unlink(probe.constData());
    }

    static QByteArray content(std::size_t size, char seed)
    {
        QByteArray bytes(qsizetype(size), Qt::Uninitialized);
        for (qsizetype i = 0; i < bytes.size(); ++i)
            bytes[i] = char(seed + i * 7 + i / 251);
        return bytes;
    }

    static constexpr qsizetype sampleBytes = 2 * (64 << 10); // the first and the last 64 KiB

    QTemporaryDir dir;
    QByteArray folder;
    std::int64_t lastChange = 0;
};

TEST_F(Duplicates, AnIdenticalFileIsFoundAndASameSizedOtherOneIsNot)
{
    const QByteArray report = content(300000, 'a');
    file("report.pdf", report, 60);
    QByteArray nearly = report;
    nearly[150000] = char(nearly[150000] ^ 1);
    file("report-draft.pdf", nearly, 30);
    file("notes.txt", "unrelated, other size");
    const QByteArray copy = file("report (1).pdf", report);

    DuplicateFinder finder(folder);
    const auto found = finder.findOriginal(copy);
    EXPECT_EQ(found.original, QByteArray("report.pdf"));
    EXPECT_EQ(found.candidates, 2) << "the two files of the same size";
    EXPECT_EQ(found.filesRead, 3) << "the new file and both candidates, whose ends are alike";
    EXPECT_EQ(found.bytesRead, 3 * report.size() + 3 * sampleBytes) << "the ends of all three, then all of them";

    const QByteArray other = file("other.pdf", content(300000, 'z'));
    const auto none = finder.findOriginal(other);
    EXPECT_FALSE(none.original) << "same size, other content";
    EXPECT_EQ(none.bytesRead, report.size()) << "the three others' digests were known: only the new file is read";

    // The near-duplicate is a different file even though one bit is all that differs.
    DuplicateFinder fresh(folder);
    EXPECT_FALSE(fresh.findOriginal(joinPath(folder, "report-draft.pdf")).original);
}

TEST_F(Duplicates, ASameSizedFileWithOtherEndsIsNotReadWhole)
{
    file("video.mkv", content(500000, 'v'), 60);
    QByteArray other = content(500000, 'v');
    other[other.size() - 1] = char(other[other.size() - 1] ^ 0x55);
    const QByteArray fresh = file("video-recut.mkv", other);
    DuplicateFinder finder(folder);
    const auto outcome = finder.findOriginal(fresh);
    EXPECT_FALSE(outcome.original);
    EXPECT_EQ(outcome.candidates, 1);
    EXPECT_EQ(outcome.filesRead, 0);
    EXPECT_EQ(outcome.bytesRead, 2 * sampleBytes) << "the ends of each";
}

TEST_F(Duplicates, NothingIsReadWithoutAnotherFileOfTheSameSize)
{
    file("a.iso", content(4096, 'a'));
    file("b.iso", content(4095, 'a'));
    ASSERT_EQ(::mkdir(joinPath(folder, "folder").constData(), 0755), 0);
    const QByteArray fresh = file("c.iso", content(4097, 'a'));
    DuplicateFinder finder(folder);
    const auto outcome = finder.findOriginal(fresh);
    EXPECT_FALSE(outcome.original);
    EXPECT_EQ(outcome.candidates, 0);
    EXPECT_EQ(outcome.bytesRead, 0);
    EXPECT_EQ(outcome.filesRead, 0);
}

TEST_F(Duplicates, EmptyFilesLinksAndSkippedNamesAreNoCopies)
{
    file("empty.txt", "");
    const QByteArray empty = file("empty (1).txt", "");
    DuplicateFinder finder(folder, [](const QByteArray &name) { return name.startsWith('.') || name.endsWith(".part"); });
    EXPECT_FALSE(finder.findOriginal(empty).original);
    EXPECT_EQ(finder.findOriginal(empty).bytesRead, 0);

    const QByteArray data = content(5000, 'q');
    const QByteArray fresh = file("data.bin", data);
    ASSERT_EQ(::link(fresh.constData(), joinPath(folder, "hardlink.bin").constData()), 0);
    file(".hidden.bin", data);
    file("data.bin.part", data);
    const auto outcome = finder.findOriginal(fresh);
    EXPECT_FALSE(outcome.original) << "another name of the same file, a hidden and a partial one";
    EXPECT_EQ(outcome.candidates, 0);

    EXPECT_FALSE(finder.findOriginal(joinPath(folder, "missing.bin")).original);
}

TEST_F(Duplicates, TheOldestOfSeveralCopiesIsTheOriginalAndAChangedFileIsReadAgain)
{
    const QByteArray setup = content(70000, 's');
    file("setup (1).exe", setup, 100);
    file("setup.exe", setup, 200);
    const QByteArray third = file("setup (2).exe", setup);
    DuplicateFinder finder(folder);
    EXPECT_EQ(finder.findOriginal(third).original, QByteArray("setup.exe"));

    // The original is rewritten with other bytes of the same size: its cached digest no longer
    // counts, since its modification time changed.
    file("setup.exe", content(70000, 't'), 50);
    const auto outcome = finder.findOriginal(file("setup (3).exe", setup));
    EXPECT_EQ(outcome.original, QByteArray("setup (1).exe"));
    EXPECT_EQ(outcome.candidates, 3);
    EXPECT_EQ(outcome.bytesRead, 2 * setup.size()) << "the new file and the rewritten one; the others are known";
}

TEST_F(Duplicates, OnlyFilesThatArrivedBeforeCountAndABatchSharesOneListing)
{
    const QByteArray bytes = content(9000, 'b');
    const QByteArray first = file("song.mp3", bytes);
    const QByteArray second = file("song (1).mp3", bytes);
    const QByteArray third = file("song (2).mp3", content(9000, 'c'));
    DuplicateFinder finder(folder);
    // Checked after all three arrived, as a burst is: the first is no copy of the second.
    const auto outcomes = finder.findOriginals({first, second, third});
    ASSERT_EQ(outcomes.size(), 3u);
    EXPECT_FALSE(outcomes[0].original);
    EXPECT_EQ(outcomes[0].candidates, 0);
    EXPECT_EQ(outcomes[1].original, QByteArray("song.mp3"));
    EXPECT_FALSE(outcomes[2].original);
    EXPECT_EQ(outcomes[2].candidates, 2);
}

TEST_F(Duplicates, TheCheckRunsOnTheWorkerAndAnswersOnTheMainExecutor)
{
    const QByteArray bytes = content(1000, 'w');
    file("w.txt", bytes, 10);
    const QByteArray copy = file("w (1).txt", bytes);
    ManualExecutor worker;
    ManualExecutor main;
    DuplicateCheck check(std::make_shared<DuplicateFinder>(folder), worker, main);
    const QByteArray other = file("v.txt", content(1000, 'v'));
    std::optional<std::optional<QByteArray>> answer, otherAnswer;
    check.check(copy, [&](std::optional<QByteArray> original) { answer = std::move(original); });
    check.check(other, [&](std::optional<QByteArray> original) { otherAnswer = std::move(original); });
    EXPECT_EQ(main.runAll(), 0) << "nothing is worked out on the caller's side";
    EXPECT_EQ(worker.runAll(), 1) << "both files in one pass";
    EXPECT_FALSE(answer) << "the answers wait for the main executor";
    EXPECT_EQ(main.runAll(), 2);
    ASSERT_TRUE(answer);
    EXPECT_EQ(*answer, QByteArray("w.txt"));
    ASSERT_TRUE(otherAnswer);
    EXPECT_FALSE(*otherAnswer);

    check.check(copy, [&](std::optional<QByteArray> original) { answer = std::move(original); });
    EXPECT_EQ(worker.runAll(), 1) << "a later request gets a pass of its own";
}

TEST_F(Duplicates, ChecksFromOneThreadWhileTheWorkerRunsAllGetTheirAnswer)
{
    const QByteArray bytes = content(20000, 'r');
    file("base.bin", bytes);
    std::vector<QByteArray> copies;
    for (int i = 1; i <= 20; ++i)
        copies.push_back(file("base (" + QByteArray::number(i) + ").bin", bytes));
    ManualExecutor main;
    int answered = 0;
    {
        WorkerThread worker("test-duplicates");
        DuplicateCheck check(std::make_shared<DuplicateFinder>(folder), worker, main);
        for (const QByteArray &copy : copies)
            check.check(copy, [&](std::optional<QByteArray> original) {
                EXPECT_EQ(original, QByteArray("base.bin"));
                ++answered;
            });
        worker.drain();
    }
    main.runAll();
    EXPECT_EQ(answered, 20);
}

} // namespace
