#include "toast/FileMover.h"

#include "core/TrackedFile.h"

#include "platform/fake/Executors.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace dowsel;

namespace {

QByteArray pathIn(const QTemporaryDir &dir, const QByteArray &name)
{
    return QFile::encodeName(dir.path()) + '/' + name;
}

void writeFile(const QByteArray &path, const QByteArray &content)
{
    // QFile cannot reach names that are not valid UTF-8, so write through POSIX.
    FILE *f = std::fopen(path.constData(), "wb");
    ASSERT_NE(f, nullptr) << path.constData();
    std::fwrite(content.constData(), 1, size_t(content.size()), f);
    std::fclose(f);
}

QByteArray readFile(const QByteArray &path)
{
    FILE *f = std::fopen(path.constData(), "rb");
    if (!f)
        return "<missing>";
    QByteArray content;
    char buffer[4096];
    for (size_t got; (got = std::fread(buffer, 1, sizeof buffer, f)) > 0;)
        content.append(buffer, qsizetype(got));
    std::fclose(f);
    return content;
}

bool exists(const QByteArray &path)
{
    struct stat st;
    return ::lstat(path.constData(), &st) == 0;
}

QStringList entriesOf(const QTemporaryDir &dir)
{
    return QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                      QDir::Name);
}

TEST(NumberedName, NumbersBeforeTheExtensionAndFitsTheNameLimit)
{
    EXPECT_EQ(numberedName("a.pdf", 2), "a (2).pdf");
    EXPECT_EQ(numberedName("x", 2), "x (2)");
    EXPECT_EQ(numberedName("archive.tar.gz", 3), "archive.tar (3).gz");
    EXPECT_EQ(numberedName(".bashrc", 2), ".bashrc (2)");
    EXPECT_EQ(numberedName("trailing.", 2), "trailing. (2)");

    const QByteArray longName = QByteArray(251, 'n') + ".pdf";
    const QByteArray numbered = numberedName(longName, 12);
    EXPECT_EQ(numbered.size(), 255);
    EXPECT_TRUE(numbered.endsWith(" (12).pdf"));

    // A multi-byte character is dropped whole, never cut in half.
    const QByteArray accented = QByteArray(249, 'e') + "\xc3\xa9\xc3\xa9.pdf"; // 253 + 4 bytes
    const QByteArray shortened = numberedName(accented.left(255), 2);
    EXPECT_LE(shortened.size(), 255);
    EXPECT_TRUE(QString::fromUtf8(shortened).toUtf8() == shortened);
}

TEST(MoveWithinDevice, CollisionsTakeTheNextFreeNumberAndNothingIsReplaced)
{
    QTemporaryDir downloads;
    QTemporaryDir destination;
    writeFile(pathIn(downloads, "a.pdf"), "new");
    writeFile(pathIn(destination, "a.pdf"), "old");
    writeFile(pathIn(destination, "a (2).pdf"), "older");

    const MoveResult result = moveWithinDevice(pathIn(downloads, "a.pdf"), QFile::encodeName(destination.path()));
    ASSERT_TRUE(result.moved()) << result.error.toStdString();
    EXPECT_EQ(result.target, pathIn(destination, "a (3).pdf"));
    EXPECT_EQ(readFile(pathIn(destination, "a (3).pdf")), "new");
    EXPECT_EQ(readFile(pathIn(destination, "a.pdf")), "old");
    EXPECT_EQ(readFile(pathIn(destination, "a (2).pdf")), "older");
    EXPECT_FALSE(exists(pathIn(downloads, "a.pdf")));

    ASSERT_TRUE(QDir(downloads.path()).mkdir("x"));
    ASSERT_TRUE(QDir(destination.path()).mkdir("x"));
    writeFile(pathIn(downloads, "x/inside"), "kept");
    const MoveResult folder = moveWithinDevice(pathIn(downloads, "x"), QFile::encodeName(destination.path()));
    ASSERT_TRUE(folder.moved());
    EXPECT_EQ(folder.target, pathIn(destination, "x (2)"));
    EXPECT_EQ(readFile(pathIn(destination, "x (2)/inside")), "kept");
}

TEST(MoveWithinDevice, UntrustedNamesMoveByteForByte)
{
    QTemporaryDir downloads;
    QTemporaryDir destination;
    const std::vector<QByteArray> names{"with space.pdf", "quote\"s'.txt", "new\nline", "-rf", "bad\xff\xfe.bin",
                                        QByteArray(255, 'z')};
    for (const QByteArray &name : names) {
        writeFile(pathIn(downloads, name), name);
        const MoveResult result = moveWithinDevice(pathIn(downloads, name), QFile::encodeName(destination.path()));
        ASSERT_TRUE(result.moved()) << name.toHex().constData() << ": " << result.error.toStdString();
        EXPECT_EQ(result.target, pathIn(destination, name));
        EXPECT_EQ(readFile(result.target), name);
    }
    // A 255-byte name that collides still gets a numbered name of at most 255 bytes.
    writeFile(pathIn(downloads, QByteArray(255, 'z')), "second");
    const MoveResult again =
        moveWithinDevice(pathIn(downloads, QByteArray(255, 'z')), QFile::encodeName(destination.path()));
    ASSERT_TRUE(again.moved()) << again.error.toStdString();
    EXPECT_EQ(fileNameOf(again.target).size(), 255);
    EXPECT_EQ(readFile(again.target), "second");
}

TEST(MoveWithinDevice, FailuresKeepTheSource)
{
    QTemporaryDir downloads;
    QTemporaryDir destination;
    writeFile(pathIn(downloads, "a.pdf"), "data");

    const MoveResult vanished = moveWithinDevice(pathIn(downloads, "gone.pdf"), QFile::encodeName(destination.path()));
    EXPECT_FALSE(vanished.moved());
    EXPECT_FALSE(vanished.error.isEmpty());

    if (::geteuid() != 0) { // root writes into read-only folders
        ::chmod(QFile::encodeName(destination.path()).constData(), 0500);
        const MoveResult readOnly = moveWithinDevice(pathIn(downloads, "a.pdf"), QFile::encodeName(destination.path()));
        ::chmod(QFile::encodeName(destination.path()).constData(), 0700);
        EXPECT_FALSE(readOnly.moved());
        EXPECT_FALSE(readOnly.crossDevice);
        EXPECT_EQ(readFile(pathIn(downloads, "a.pdf")), "data");
    }
}

// Tmpfs to disk: a real cross-device move.
class CrossDeviceMove : public ::testing::Test {
protected:
    void SetUp() override
    {
        struct stat shm;
        struct stat disk;
        if (!source.isValid() || ::stat("/dev/shm", &shm) != 0
            || ::stat(QFile::encodeName(destination.path()).constData(), &disk) != 0 || shm.st_dev == disk.st_dev)
            GTEST_SKIP() << "needs /dev/shm on another file system than the temporary folder";
    }
    QByteArray sourcePath(const QByteArray &name) const { return pathIn(source, name); }
    QByteArray destinationFolder() const { return QFile::encodeName(destination.path()); }

    QTemporaryDir source{QStringLiteral("/dev/shm/dowsel-test-XXXXXX")};
    QTemporaryDir destination;
};

QByteArray patternBytes(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i)
        bytes[i] = char((i * 131 + i / 7) & 0xff);
    return bytes;
}

TEST_F(CrossDeviceMove, CopiesEveryByteThenRemovesTheSource)
{
    const QByteArray content = patternBytes(3 * 1024 * 1024 + 17);
    writeFile(sourcePath("-big file\n.bin"), content);
    writeFile(pathIn(destination, "-big file\n.bin"), "occupied");
    ::chmod(sourcePath("-big file\n.bin").constData(), 0640);

    std::vector<std::int64_t> reported;
    const MoveResult result = moveAcrossDevices(sourcePath("-big file\n.bin"), destinationFolder(),
                                                [&](const QByteArray &, std::int64_t copied, std::int64_t total) {
                                                    EXPECT_EQ(total, content.size());
                                                    reported.push_back(copied);
                                                    return true;
                                                });
    ASSERT_TRUE(result.moved()) << result.error.toStdString();
    EXPECT_EQ(result.target, pathIn(destination, "-big file\n (2).bin"));
    EXPECT_EQ(readFile(result.target), content);
    EXPECT_FALSE(exists(sourcePath("-big file\n.bin")));
    EXPECT_EQ(readFile(pathIn(destination, "-big file\n.bin")), "occupied");
    ASSERT_GE(reported.size(), 3u);
    EXPECT_EQ(reported.back(), content.size());
    struct stat st;
    ASSERT_EQ(::stat(result.target.constData(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0640u);
    EXPECT_EQ(entriesOf(destination).size(), 2); // no temporary left over
}

TEST_F(CrossDeviceMove, ADownloadStillBeingWrittenIsNeverLost)
{
    // A writer in another process (curl, say) that holds the file open and adds to it while
    // the user moves it to another drive: each try either leaves the source where it is or
    // moves the finished file. Never a partial copy with the source gone.
    const QByteArray path = sourcePath("growing.iso");
    const QByteArray chunk = patternBytes(64 * 1024);
    constexpr int chunks = 40;
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t writer = ::fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
        const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        (void)!::write(ready[1], "x", 1);
        for (int i = 0; i < chunks && fd >= 0; ++i) {
            (void)!::write(fd, chunk.constData(), size_t(chunk.size()));
            ::usleep(10'000);
        }
        ::_exit(0);
    }
    char signal;
    ASSERT_EQ(::read(ready[0], &signal, 1), 1);
    ::close(ready[0]);
    ::close(ready[1]);

    int refused = 0;
    MoveResult moved;
    while (!moved.moved()) {
        const MoveResult result = moveAcrossDevices(path, destinationFolder());
        if (result.moved()) {
            moved = result;
            break;
        }
        ASSERT_TRUE(exists(path)) << result.error.toStdString();
        ASSERT_FALSE(result.placed && !result.error.contains(QStringLiteral("stays where it is")))
            << result.error.toStdString();
        if (result.placed)
            ::unlink(result.target.constData()); // a copy kept beside the original: try again
        if (result.error.contains(QStringLiteral("still being written (")))
            ++refused;
        int status = 0;
        if (::waitpid(writer, &status, WNOHANG) == writer) {
            // Finished: the next try moves the whole file.
            const MoveResult last = moveAcrossDevices(path, destinationFolder());
            ASSERT_TRUE(last.moved()) << last.error.toStdString();
            moved = last;
        }
    }
    ::waitpid(writer, nullptr, 0);
    EXPECT_GT(refused, 0) << "the writer was never seen";
    EXPECT_FALSE(exists(path));
    EXPECT_EQ(readFile(moved.target).size(), chunk.size() * chunks);
}

TEST_F(CrossDeviceMove, AFileChangedDuringTheCopyStaysBesideTheCopy)
{
    const QByteArray path = sourcePath("notes.txt");
    writeFile(path, patternBytes(3 * 1024 * 1024));
    bool appended = false;
    const MoveResult result = moveAcrossDevices(path, destinationFolder(),
                                                [&](const QByteArray &, std::int64_t, std::int64_t) {
                                                    if (!appended) {
                                                        const int fd = ::open(path.constData(), O_WRONLY | O_APPEND);
                                                        (void)!::write(fd, "more", 4);
                                                        ::close(fd);
                                                        appended = true;
                                                    }
                                                    return true;
                                                });
    EXPECT_FALSE(result.moved());
    EXPECT_TRUE(result.placed);
    EXPECT_TRUE(result.error.contains(QStringLiteral("changed while it was copied"))) << result.error.toStdString();
    EXPECT_EQ(readFile(path).size(), 3 * 1024 * 1024 + 4);
    EXPECT_TRUE(exists(result.target));
}

TEST_F(CrossDeviceMove, InterruptedCopyLeavesTheSourceAndNoPartialFile)
{
    const QByteArray content = patternBytes(4 * 1024 * 1024);
    writeFile(sourcePath("movie.mkv"), content);

    const auto stopHalfway = [](const QByteArray &, std::int64_t copied, std::int64_t) {
        return copied < 2 * 1024 * 1024;
    };
    const MoveResult result = moveAcrossDevices(sourcePath("movie.mkv"), destinationFolder(), stopHalfway);
    EXPECT_FALSE(result.moved());
    EXPECT_FALSE(result.placed);
    EXPECT_EQ(readFile(sourcePath("movie.mkv")), content);
    EXPECT_TRUE(entriesOf(destination).isEmpty()) << entriesOf(destination).join(',').toStdString();
}

TEST_F(CrossDeviceMove, FoldersAndLinksAreCopiedWhole)
{
    ASSERT_TRUE(QDir(source.path()).mkpath("album/disc 2"));
    writeFile(sourcePath("album/one.flac"), "1");
    writeFile(sourcePath("album/disc 2/two\xff.flac"), "2");
    ASSERT_EQ(::symlink("one.flac", sourcePath("album/link").constData()), 0);

    const MoveResult result = moveAcrossDevices(sourcePath("album"), destinationFolder());
    ASSERT_TRUE(result.moved()) << result.error.toStdString();
    EXPECT_EQ(readFile(pathIn(destination, "album/one.flac")), "1");
    EXPECT_EQ(readFile(pathIn(destination, "album/disc 2/two\xff.flac")), "2");
    EXPECT_EQ(readFile(pathIn(destination, "album/link")), "1");
    EXPECT_FALSE(exists(sourcePath("album")));
}

TEST_F(CrossDeviceMove, AFailureInTheBackgroundIsToldOnTheMainExecutor)
{
    // Long after the toast closed: the user learns of it where the app tells things.
    ASSERT_EQ(::mkfifo(sourcePath("pipe").constData(), 0644), 0);
    ManualExecutor background;
    ManualExecutor main;
    FileMover mover(background, main);
    std::vector<MoveResult> failures;
    mover.setFailureObserver([&](const MoveResult &result) { failures.push_back(result); });
    mover.move({sourcePath("pipe")}, destinationFolder(), [](const std::vector<QByteArray> &) {});
    background.runAll();
    EXPECT_TRUE(failures.empty()) << "told on the background worker";
    main.runAll();
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(failures[0].source, sourcePath("pipe"));
    EXPECT_FALSE(failures[0].placed);
    EXPECT_EQ(failures[0].error, QStringLiteral("unsupported file type"));
    EXPECT_TRUE(exists(sourcePath("pipe")));
}

TEST_F(CrossDeviceMove, MoverCopiesInTheBackgroundAndRevealsOnTheMainExecutor)
{
    writeFile(sourcePath("a.pdf"), "A");
    QTemporaryDir sameDevice;
    writeFile(pathIn(sameDevice, "b.pdf"), "B");
    ManualExecutor background;
    ManualExecutor main;
    FileMover mover(background, main);
    std::vector<std::vector<QByteArray>> reveals;

    mover.move({sourcePath("a.pdf"), pathIn(sameDevice, "b.pdf"), pathIn(sameDevice, "missing.pdf")},
               destinationFolder(), [&](const std::vector<QByteArray> &targets) { reveals.push_back(targets); });
    ASSERT_EQ(reveals.size(), 1u); // the same-device move is done at once
    EXPECT_EQ(reveals[0], std::vector<QByteArray>{pathIn(destination, "b.pdf")});
    EXPECT_TRUE(exists(sourcePath("a.pdf")));

    background.runAll();
    EXPECT_EQ(reveals.size(), 1u); // revealed on the main executor only
    main.runAll();
    ASSERT_EQ(reveals.size(), 2u);
    EXPECT_EQ(reveals[1], std::vector<QByteArray>{pathIn(destination, "a.pdf")});
    EXPECT_EQ(readFile(pathIn(destination, "a.pdf")), "A");
}

} // namespace
