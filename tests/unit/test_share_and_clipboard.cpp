#include "platform/linux/SpawnProcessLauncher.h"
#include "core/FileUrls.h"
#include "toast/ShareTargets.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace dowsel;

namespace {

TEST(FileUrls, EveryByteSurvivesAndTheClipboardFormatsListEachFile)
{
    const QByteArray odd("/home/me/a b\n\"c\"\xff#%.pdf");
    const QByteArray url = fileUrl(odd);
    EXPECT_TRUE(url.startsWith("file:///home/me/a%20b%0A%22c%22%FF%23%25.pdf")) << url.constData();
    EXPECT_EQ(QByteArray::fromPercentEncoding(url.mid(7)), odd);
    EXPECT_EQ(QUrl::fromEncoded(url).scheme(), "file");

    const FileClipboardPayload payload = fileClipboardPayload({"/d/a.pdf", "/d/-b"});
    EXPECT_EQ(payload.uriList, "file:///d/a.pdf\r\nfile:///d/-b\r\n");
    EXPECT_EQ(payload.gnomeCopiedFiles, "copy\nfile:///d/a.pdf\nfile:///d/-b");
}

TEST(ShareTargets, OnlyInstalledProgramsAreOfferedAndPathsNeverBecomeOptions)
{
    const auto targets = availableShareTargets([](const QByteArray &name) {
        return name == "bluetooth-sendto" ? QByteArray("/usr/bin/bluetooth-sendto") : QByteArray();
    });
    ASSERT_EQ(targets.size(), 1u);
    EXPECT_EQ(targets[0].kind, ShareTarget::Kind::bluetooth);
    EXPECT_EQ(targets[0].arguments({"/d/-x", "/d/y"}), (std::vector<QByteArray>{"--", "/d/-x", "/d/y"}));

    const auto both = availableShareTargets([](const QByteArray &name) { return "/bin/" + name; });
    ASSERT_EQ(both.size(), 2u);
    EXPECT_EQ(both[0].kind, ShareTarget::Kind::email);
    EXPECT_EQ(both[0].arguments({"/d/a", "/d/b"}), (std::vector<QByteArray>{"--attach", "/d/a", "--attach", "/d/b"}));
}

bool waitForFile(const QByteArray &path)
{
    QDeadlineTimer deadline(10'000);
    struct stat st;
    while (::lstat(path.constData(), &st) != 0) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(10);
    }
    return true;
}

TEST(SpawnProcessLauncher, ArgumentsReachTheProgramByteForByte)
{
    QTemporaryDir dir;
    const QByteArray folder = QFile::encodeName(dir.path());
    const QByteArray odd = folder + "/-n $(touch pwned) 'q' \"d\"\n\xff";
    SpawnProcessLauncher launcher;
    ASSERT_FALSE(launcher.startDetached("/usr/bin/touch", {"--", odd}));
    ASSERT_TRUE(waitForFile(odd));
    struct stat st;
    EXPECT_NE(::lstat((folder + "/pwned").constData(), &st), 0);

    EXPECT_TRUE(launcher.startDetached("touch", {odd}));                 // not an absolute path
    EXPECT_TRUE(launcher.startDetached(folder + "/no-such-program", {})); // not there
}

} // namespace
