#include "StoreTestSupport.h"

#include "core/Tags.h"

#include <QFile>
#include <QTemporaryDir>

#include <cerrno>
#include <sys/xattr.h>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

class TagsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        file = QFile::encodeName(dir.path()) + "/file.pdf";
        ASSERT_NE(writeFile(file), 0u);
        if (::lsetxattr(file.constData(), "user.probe", "1", 1, 0) != 0)
            GTEST_SKIP() << "no user extended attributes on this file system";
    }

    // The attribute exactly as stored, or nothing when it is absent.
    static std::optional<QByteArray> rawTags(const QByteArray &path)
    {
        char buffer[1024];
        const ssize_t size = ::lgetxattr(path.constData(), tagsAttribute, buffer, sizeof buffer);
        if (size < 0)
            return std::nullopt;
        return QByteArray(buffer, size);
    }
    static void setRawTags(const QByteArray &path, const QByteArray &value)
    {
        ASSERT_EQ(::lsetxattr(path.constData(), tagsAttribute, value.constData(), size_t(value.size()), 0), 0);
    }

    QTemporaryDir dir;
    QByteArray file;
};

TEST_F(TagsTest, TheTemporaryTagGoesAfterTheUsersTagsAndLeavesThemAsTheyWere)
{
    setRawTags(file, "Work,Red");
    addTemporaryTag(file);
    EXPECT_EQ(rawTags(file), "Work,Red,Dowsel: Temporary");
    EXPECT_EQ(readTags(file), (QByteArrayList{"Work", "Red", temporaryTag}));

    removeTemporaryTag(file);
    EXPECT_EQ(rawTags(file), "Work,Red");

    addTemporaryTag(file);
    removeTemporaryTag(file);
    addTemporaryTag(file);
    EXPECT_EQ(rawTags(file), "Work,Red,Dowsel: Temporary");
}

TEST_F(TagsTest, RemovingTheOnlyTagRemovesTheAttributeAndOlderPrefixesCountAsOurs)
{
    addTemporaryTag(file);
    EXPECT_EQ(rawTags(file), "Dowsel: Temporary");
    removeTemporaryTag(file);
    EXPECT_FALSE(rawTags(file));
    EXPECT_EQ(errno, ENODATA);

    setRawTags(file, "Sivra: Temporary,Home,Dowsel: Old");
    removeTemporaryTag(file);
    EXPECT_EQ(rawTags(file), "Home");
}

TEST_F(TagsTest, NothingIsWrittenWhenThereIsNothingToChange)
{
    // The empty entry would disappear if the list were written back.
    setRawTags(file, "Work,,Dowsel: renamed by the user");
    addTemporaryTag(file);
    EXPECT_EQ(rawTags(file), "Work,,Dowsel: renamed by the user");

    const QByteArray other = QFile::encodeName(dir.path()) + "/other";
    ASSERT_NE(writeFile(other), 0u);
    setRawTags(other, "Work,,Home");
    removeTemporaryTag(other);
    EXPECT_EQ(rawTags(other), "Work,,Home");

    const QByteArray untagged = QFile::encodeName(dir.path()) + "/untagged";
    ASSERT_NE(writeFile(untagged), 0u);
    removeTemporaryTag(untagged);
    EXPECT_FALSE(rawTags(untagged));
}

TEST_F(TagsTest, OddNamesFoldersLinksAndMissingFilesAreHandled)
{
    const QByteArray base = QFile::encodeName(dir.path()) + '/';
    const QByteArrayList names{
        "-rf leading dash", "line\nbreak", "quote\"and'apostrophe", QByteArray("latin1 \xe9\xe8"),
        QByteArray(255, 'n'),
    };
    for (const QByteArray &name : names) {
        ASSERT_NE(writeFile(base + name), 0u) << name.constData();
        addTemporaryTag(base + name);
        EXPECT_EQ(readTags(base + name), QByteArrayList{temporaryTag}) << name.constData();
    }

    const QByteArray folder = base + "folder";
    ASSERT_EQ(::mkdir(folder.constData(), 0755), 0);
    addTemporaryTag(folder);
    EXPECT_EQ(readTags(folder), QByteArrayList{temporaryTag});

    // A link is never followed: its target keeps its own tags.
    const QByteArray link = base + "link";
    ASSERT_EQ(::symlink(file.constData(), link.constData()), 0);
    setRawTags(file, "Mine");
    addTemporaryTag(link);
    removeTemporaryTag(link);
    EXPECT_EQ(rawTags(file), "Mine");

    addTemporaryTag(base + "missing");
    removeTemporaryTag(base + "missing");
    addTemporaryTag({});
    EXPECT_TRUE(readTags(base + "missing").isEmpty());
    EXPECT_FALSE(exists(base + "missing"));
}

TEST(ArchiveNames, BaseNamesDropOneExtensionAndATarUnderIt)
{
    EXPECT_EQ(archiveBaseName("photos.zip"), "photos");
    EXPECT_EQ(archiveBaseName("photos.tar.gz"), "photos");
    EXPECT_EQ(archiveBaseName("photos.TAR.GZ"), "photos");
    EXPECT_EQ(archiveBaseName("a.b.zip"), "a.b");
    EXPECT_EQ(archiveBaseName("photos.zip.zip"), "photos.zip");
    EXPECT_EQ(archiveBaseName("photos"), "photos");

    for (const char *name : {"a.zip", "a.ZIPX", "a.tar", "a.tgz", "a.tbz", "a.tbz2", "a.txz", "a.gz", "a.bz2", "a.xz"})
        EXPECT_TRUE(isArchiveName(name)) << name;
    for (const char *name : {"a.rar", "a.7z", "zip", ".zip", "a.zip.pdf", "a."})
        EXPECT_FALSE(isArchiveName(name)) << name;
}

TEST(ArchiveNames, AnItemMatchesItsArchiveOrANumberedSecondExtraction)
{
    EXPECT_TRUE(matchesArchive("photos", "photos.zip"));
    EXPECT_TRUE(matchesArchive("photos 2", "photos.zip"));
    EXPECT_TRUE(matchesArchive("photos 12", "photos.tar.gz"));
    EXPECT_TRUE(matchesArchive("photos \xd9\xa3", "photos.zip")); // Arabic-Indic digit three
    EXPECT_FALSE(matchesArchive("photos copy", "photos.zip"));
    EXPECT_FALSE(matchesArchive("photos ", "photos.zip"));
    EXPECT_FALSE(matchesArchive("photos 2a", "photos.zip"));
    EXPECT_FALSE(matchesArchive("photos2", "photos.zip"));
    EXPECT_FALSE(matchesArchive("photos.zip", "photos.zip"));
    EXPECT_TRUE(matchesArchive("photos.zip", "photos.zip.zip"));
    EXPECT_FALSE(matchesArchive("", ".zip"));
    EXPECT_FALSE(matchesArchive("Photos", "photos.zip"));
}

TEST(ArchiveNames, ParentPathDropsTheLastComponent)
{
    EXPECT_EQ(parentPath("/home/u/Downloads/a"), "/home/u/Downloads");
    EXPECT_EQ(parentPath("/home/u/Downloads/a/"), "/home/u/Downloads");
    EXPECT_EQ(parentPath("/a"), "/");
    EXPECT_EQ(parentPath("a"), "");
}

} // namespace
