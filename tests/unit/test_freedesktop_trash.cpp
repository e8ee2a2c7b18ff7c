#include "StoreTestSupport.h"

#include "platform/linux/FreedesktopTrash.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

// Raw bytes in and out: QFile's name conversion does not survive names that are not UTF-8.
QByteArray readBytes(const QByteArray &path)
{
    QByteArray content;
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return content;
    char buffer[4096];
    ssize_t count = 0;
    while ((count = ::read(fd, buffer, sizeof buffer)) > 0)
        content.append(buffer, count);
    ::close(fd);
    return content;
}

mode_t modeOf(const QByteArray &path)
{
    struct stat status {};
    return ::lstat(path.constData(), &status) == 0 ? status.st_mode : 0;
}

// The Path= and DeletionDate= values of an info file; empty when it is malformed.
struct TrashInfo {
    QByteArray path;
    QByteArray deletionDate;
};

TrashInfo parseInfo(const QByteArray &content)
{
    const QByteArrayList lines = content.split('\n');
    if (lines.size() != 4 || lines[0] != "[Trash Info]" || !lines[1].startsWith("Path=")
        || !lines[2].startsWith("DeletionDate=") || !lines[3].isEmpty())
        return {};
    return {QByteArray::fromPercentEncoding(lines[1].mid(5)), lines[2].mid(13)};
}

class FreedesktopTrashTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        root = QFile::encodeName(dir.path());
        trashDir = root + "/data/Trash";
        ASSERT_EQ(::mkdir((root + "/Downloads").constData(), 0755), 0);
    }

    QByteArray download(const QByteArray &name) const { return root + "/Downloads/" + name; }
    QStringList trashedNames() const
    {
        const auto filter = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
        return QDir(QFile::decodeName(trashDir + "/files")).entryList(filter, QDir::Name);
    }
    TrashInfo info(const QByteArray &trashName) const
    {
        return parseInfo(readBytes(trashDir + "/info/" + trashName + ".trashinfo"));
    }

    QTemporaryDir dir;
    QByteArray root;
    QByteArray trashDir;
};

TEST_F(FreedesktopTrashTest, HomeTrashEntriesAreWhatFileManagersExpect)
{
    FreedesktopTrash trash(root + "/data");
    const QByteArrayList names{"report final.pdf", "line\nbreak%20\"q\".txt", QByteArray("-caf\xe9"),
                               QByteArray("\xe6\x97\xa5\xe6\x9c\xac.zip")};
    for (const QByteArray &name : names) {
        ASSERT_NE(writeFile(download(name), name), 0u);
        ASSERT_FALSE(trash.moveToTrash(download(name))) << name.constData();
        EXPECT_FALSE(exists(download(name)));
        EXPECT_EQ(readBytes(trashDir + "/files/" + name), name);

        const QByteArray raw = readBytes(trashDir + "/info/" + name + ".trashinfo");
        const TrashInfo parsed = parseInfo(raw);
        EXPECT_EQ(parsed.path, download(name)) << raw.constData();
        EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d$"))
                        .match(QString::fromLatin1(parsed.deletionDate))
                        .hasMatch())
            << raw.constData();
        // Only the unreserved characters and '/' stay as they are.
        const QRegularExpression encodedPath(QStringLiteral("^Path=[A-Za-z0-9/%._~-]+$"),
                                             QRegularExpression::MultilineOption);
        EXPECT_TRUE(encodedPath.match(QString::fromLatin1(raw)).hasMatch()) << raw.constData();
    }
    EXPECT_EQ(modeOf(trashDir) & 07777, 0700u);
    EXPECT_EQ(modeOf(trashDir + "/files") & 07777, 0700u);
}

TEST_F(FreedesktopTrashTest, TheSameNameTwiceKeepsBothAndNothingIsOverwritten)
{
    FreedesktopTrash trash(root + "/data");
    ASSERT_NE(writeFile(download("a.pdf"), "first"), 0u);
    ASSERT_FALSE(trash.moveToTrash(download("a.pdf")));
    ASSERT_NE(writeFile(download("a.pdf"), "second"), 0u);
    ASSERT_FALSE(trash.moveToTrash(download("a.pdf")));
    // A stray entry without its info file must not be replaced either.
    ASSERT_NE(writeFile(trashDir + "/files/a.3.pdf", "stray"), 0u);
    ASSERT_NE(writeFile(download("a.pdf"), "third"), 0u);
    ASSERT_FALSE(trash.moveToTrash(download("a.pdf")));

    EXPECT_EQ(trashedNames(), (QStringList{"a.2.pdf", "a.3.pdf", "a.4.pdf", "a.pdf"}));
    EXPECT_EQ(readBytes(trashDir + "/files/a.pdf"), "first");
    EXPECT_EQ(readBytes(trashDir + "/files/a.2.pdf"), "second");
    EXPECT_EQ(readBytes(trashDir + "/files/a.3.pdf"), "stray");
    EXPECT_EQ(readBytes(trashDir + "/files/a.4.pdf"), "third");
    EXPECT_EQ(info("a.4.pdf").path, download("a.pdf"));
    EXPECT_FALSE(exists(trashDir + "/info/a.3.pdf.trashinfo"));
}

TEST_F(FreedesktopTrashTest, LinksFoldersAndLongNamesAreMovedAsThemselves)
{
    FreedesktopTrash trash(root + "/data");
    const QByteArray target = root + "/target.txt";
    ASSERT_NE(writeFile(target, "target"), 0u);
    ASSERT_EQ(::symlink(target.constData(), download("link").constData()), 0);
    ASSERT_FALSE(trash.moveToTrash(download("link")));
    EXPECT_TRUE(S_ISLNK(modeOf(trashDir + "/files/link")));
    EXPECT_EQ(readBytes(target), "target");

    ASSERT_EQ(::mkdir(download("folder").constData(), 0755), 0);
    ASSERT_NE(writeFile(download("folder/inside"), "x"), 0u);
    ASSERT_FALSE(trash.moveToTrash(download("folder/")));
    EXPECT_EQ(readBytes(trashDir + "/files/folder/inside"), "x");
    EXPECT_EQ(info("folder").path, download("folder"));

    // 255 bytes fit a folder entry but not with ".trashinfo" behind them.
    const QByteArray longName = QByteArray(200, 'l') + QByteArray("\xc3\xa9").repeated(25) + ".pdf";
    ASSERT_EQ(longName.size(), 254);
    ASSERT_NE(writeFile(download(longName), "long"), 0u);
    ASSERT_FALSE(trash.moveToTrash(download(longName)));
    EXPECT_FALSE(exists(download(longName)));
    const QStringList names = trashedNames();
    const auto trashed = std::find_if(names.begin(), names.end(), [](const QString &n) { return n.endsWith(".pdf"); });
    ASSERT_NE(trashed, names.end());
    const QByteArray trashName = QFile::encodeName(*trashed);
    EXPECT_LE(trashName.size() + 10, 255);
    EXPECT_TRUE(QString::fromUtf8(trashName).toUtf8() == trashName) << "cut inside a character";
    EXPECT_EQ(info(trashName).path, download(longName));
}

TEST_F(FreedesktopTrashTest, FailuresAreReportedAndLeaveNoTrace)
{
    FreedesktopTrash trash(root + "/data");
    const auto missing = trash.moveToTrash(download("missing.pdf"));
    ASSERT_TRUE(missing);
    EXPECT_EQ(*missing, QStringLiteral("No such file or directory"));
    EXPECT_TRUE(trashedNames().isEmpty());
    EXPECT_TRUE(QDir(QFile::decodeName(trashDir + "/info")).isEmpty(QDir::AllEntries | QDir::Hidden));

    // A trash folder on another volume: the rename fails, the info file is taken back and
    // the file stays where it was.
    QTemporaryDir shm(QStringLiteral("/dev/shm/dowsel-trash-XXXXXX"));
    struct stat here {}, there {};
    if (!shm.isValid() || ::stat(root.constData(), &here) != 0 || ::stat(shm.path().toUtf8().constData(), &there) != 0
        || here.st_dev == there.st_dev)
        GTEST_SKIP() << "no second file system to test a failing rename";
    const QByteArray otherVolume = QFile::encodeName(shm.path());
    ASSERT_EQ(::mkdir((otherVolume + "/files").constData(), 0700), 0);
    ASSERT_EQ(::mkdir((otherVolume + "/info").constData(), 0700), 0);
    ASSERT_NE(writeFile(download("kept.pdf"), "kept"), 0u);
    const auto crossed = FreedesktopTrash::moveInto({otherVolume, {}}, download("kept.pdf"));
    ASSERT_TRUE(crossed);
    EXPECT_EQ(readBytes(download("kept.pdf")), "kept");
    EXPECT_FALSE(exists(otherVolume + "/info/kept.pdf.trashinfo"));
    EXPECT_FALSE(exists(otherVolume + "/files/kept.pdf"));
}

TEST_F(FreedesktopTrashTest, VolumeTrashUsesASafeAdminTrashOrAPrivateOne)
{
    const QByteArray uid = QByteArray::number(::getuid());
    QString error;

    // No .Trash: .Trash-$uid, private.
    const QByteArray plain = root + "/plain";
    ASSERT_EQ(::mkdir(plain.constData(), 0755), 0);
    auto location = FreedesktopTrash::topdirTrash(plain, &error);
    ASSERT_TRUE(location) << error.toStdString();
    EXPECT_EQ(location->directory, plain + "/.Trash-" + uid);
    EXPECT_EQ(modeOf(location->directory) & 07777, 0700u);
    EXPECT_TRUE(S_ISDIR(modeOf(location->directory + "/info")));

    // A sticky .Trash: a folder per user inside it.
    const QByteArray sticky = root + "/sticky";
    ASSERT_EQ(::mkdir(sticky.constData(), 0755), 0);
    ASSERT_EQ(::mkdir((sticky + "/.Trash").constData(), 0777), 0);
    ASSERT_EQ(::chmod((sticky + "/.Trash").constData(), 01777), 0);
    location = FreedesktopTrash::topdirTrash(sticky, &error);
    ASSERT_TRUE(location) << error.toStdString();
    EXPECT_EQ(location->directory, sticky + "/.Trash/" + uid);

    // Without the sticky bit, or as a link to a sticky folder, .Trash is not trusted.
    const QByteArray unsafe = root + "/unsafe";
    ASSERT_EQ(::mkdir(unsafe.constData(), 0755), 0);
    ASSERT_EQ(::mkdir((unsafe + "/.Trash").constData(), 0777), 0);
    location = FreedesktopTrash::topdirTrash(unsafe, &error);
    ASSERT_TRUE(location);
    EXPECT_EQ(location->directory, unsafe + "/.Trash-" + uid);
    EXPECT_FALSE(exists(unsafe + "/.Trash/" + uid));

    const QByteArray linked = root + "/linked";
    ASSERT_EQ(::mkdir(linked.constData(), 0755), 0);
    ASSERT_EQ(::symlink((sticky + "/.Trash").constData(), (linked + "/.Trash").constData()), 0);
    location = FreedesktopTrash::topdirTrash(linked, &error);
    ASSERT_TRUE(location);
    EXPECT_EQ(location->directory, linked + "/.Trash-" + uid);

    // A file squatting on .Trash-$uid: no usable Trash, said so.
    const QByteArray squatted = root + "/squatted";
    ASSERT_EQ(::mkdir(squatted.constData(), 0755), 0);
    ASSERT_NE(writeFile(squatted + "/.Trash-" + uid), 0u);
    EXPECT_FALSE(FreedesktopTrash::topdirTrash(squatted, &error));
    EXPECT_FALSE(error.isEmpty());

    // Entries of a volume's Trash name the item relative to the volume's top folder.
    ASSERT_EQ(::mkdir((plain + "/sub").constData(), 0755), 0);
    ASSERT_NE(writeFile(plain + "/sub/x y.txt"), 0u);
    location = FreedesktopTrash::topdirTrash(plain, &error);
    ASSERT_FALSE(FreedesktopTrash::moveInto(*location, plain + "/sub/x y.txt"));
    EXPECT_EQ(parseInfo(readBytes(location->directory + "/info/x y.txt.trashinfo")).path, "sub/x y.txt");
    EXPECT_TRUE(exists(location->directory + "/files/x y.txt"));
}

} // namespace
