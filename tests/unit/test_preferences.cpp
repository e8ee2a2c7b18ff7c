#include "platform/linux/JsonFilePreferences.h"

#include <QDir>
#include <QJsonArray>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <unistd.h>

using namespace dowsel;

namespace {

class JsonPreferencesTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString path() const { return dir.path() + QStringLiteral("/dowsel/settings.json"); }

    void writeRaw(const QByteArray &bytes)
    {
        QDir().mkpath(dir.path() + QStringLiteral("/dowsel"));
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }
    QByteArray readRaw() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QStringList entries() const
    {
        return QDir(dir.path() + QStringLiteral("/dowsel")).entryList(QDir::Files | QDir::Hidden);
    }
};

TEST_F(JsonPreferencesTest, TypesSurviveARoundTripAndAbsentIsDistinct)
{
    {
        JsonFilePreferences prefs(path());
        EXPECT_FALSE(prefs.value(prefkeys::expiryValue));
        prefs.setValue(prefkeys::expiryValue, 12);
        prefs.setValue(prefkeys::expiryUnit, QStringLiteral("12"));
        prefs.setValue(prefkeys::autoZipApply, false);
        prefs.setValue(prefkeys::moveDestinations, QJsonArray{QStringLiteral("/home/a"), 3, QStringLiteral("/b")});
    }
    JsonFilePreferences reopened(path());
    EXPECT_EQ(reopened.integer(prefkeys::expiryValue), 12);
    EXPECT_EQ(reopened.integer(prefkeys::expiryUnit), std::nullopt); // a text, not an integer
    EXPECT_EQ(reopened.boolean(prefkeys::autoZipApply), false);
    EXPECT_EQ(reopened.textList(prefkeys::moveDestinations), QStringList({"/home/a", "/b"}));
    reopened.remove(prefkeys::autoZipApply);
    EXPECT_FALSE(JsonFilePreferences(path()).value(prefkeys::autoZipApply));
    // the write went through a temporary file that is gone now
    EXPECT_EQ(entries(), QStringList{QStringLiteral("settings.json")});
}

TEST_F(JsonPreferencesTest, EditsByAnotherProcessAreSeenOnTheNextRead)
{
    JsonFilePreferences prefs(path());
    prefs.setValue(prefkeys::expiryValue, 1);
    EXPECT_EQ(prefs.integer(prefkeys::expiryValue), 1);
    writeRaw(R"({"expiryValue": 250, "expiryUnit": "days"})");
    EXPECT_EQ(prefs.integer(prefkeys::expiryValue), 250);
    EXPECT_EQ(prefs.text(prefkeys::expiryUnit), QStringLiteral("days"));
    QFile::remove(path());
    EXPECT_FALSE(prefs.value(prefkeys::expiryValue));
}

TEST_F(JsonPreferencesTest, BrokenFileReadsEmptyAndIsKeptBeforeTheNextWrite)
{
    const QByteArray broken = R"({"expiryValue": 5, oops)";
    writeRaw(broken);
    JsonFilePreferences prefs(path());
    EXPECT_FALSE(prefs.value(prefkeys::expiryValue));
    EXPECT_EQ(readRaw(), broken); // reading never rewrites

    prefs.setValue(prefkeys::expiryUnit, QStringLiteral("minutes"));
    EXPECT_EQ(prefs.text(prefkeys::expiryUnit), QStringLiteral("minutes"));
    const QStringList backups = entries().filter(QStringLiteral("settings.json.broken-"));
    ASSERT_EQ(backups.size(), 1);
    QFile backup(dir.path() + QStringLiteral("/dowsel/") + backups.first());
    ASSERT_TRUE(backup.open(QIODevice::ReadOnly));
    EXPECT_EQ(backup.readAll(), broken);
}

TEST_F(JsonPreferencesTest, ANonObjectDocumentCountsAsBroken)
{
    writeRaw("[1, 2, 3]");
    JsonFilePreferences prefs(path());
    EXPECT_FALSE(prefs.value(QStringLiteral("0")));
    prefs.setValue(prefkeys::expiryValue, 3);
    EXPECT_EQ(entries().filter(QStringLiteral(".broken-")).size(), 1);
}

TEST_F(JsonPreferencesTest, ReadOnlyFolderKeepsValueForTheSessionAndLeavesFileAlone)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "root ignores folder permissions";
    writeRaw(R"({"expiryValue": 4})");
    const QString folder = dir.path() + QStringLiteral("/dowsel");
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
    JsonFilePreferences prefs(path());
    prefs.setValue(prefkeys::expiryValue, 9);
    EXPECT_EQ(prefs.integer(prefkeys::expiryValue), 9);
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    EXPECT_EQ(readRaw(), QByteArray(R"({"expiryValue": 4})"));
}

TEST_F(JsonPreferencesTest, ConcurrentReadersAndWritersSeeWholeValues)
{
    JsonFilePreferences prefs(path());
    std::atomic<bool> bad{false};
    std::thread writer([&] {
        for (int i = 1; i <= 200; ++i)
            prefs.setValue(prefkeys::expiryValue, i);
    });
    std::thread reader([&] {
        for (int i = 0; i < 2000; ++i) {
            const auto v = prefs.value(prefkeys::expiryValue);
            if (v && !v->isDouble())
                bad = true;
        }
    });
    writer.join();
    reader.join();
    EXPECT_FALSE(bad);
    EXPECT_EQ(JsonFilePreferences(path()).integer(prefkeys::expiryValue), 200);
}

} // namespace
