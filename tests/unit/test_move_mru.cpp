#include "move/MoveMRU.h"
#include "platform/fake/MemoryPreferences.h"

#include <QDir>
#include <QJsonArray>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using namespace dowsel;

namespace {

class MoveMRUTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    MemoryPreferences preferences;

    QByteArray folder(const QByteArray &name)
    {
        const QByteArray path = QFile::encodeName(dir.path()) + '/' + name;
        std::filesystem::create_directories(path.toStdString());
        return path;
    }
    QJsonValue stored() const { return preferences.value(prefkeys::moveDestinations).value_or(QJsonValue()); }
    static QJsonArray texts(const QList<QByteArray> &paths)
    {
        QJsonArray array;
        for (const QByteArray &path : paths)
            array.append(QString::fromUtf8(path));
        return array;
    }
};

TEST_F(MoveMRUTest, RecordingMovesToTheFrontAndKeepsTwenty)
{
    MoveMRU history(preferences);
    history.record("/a");
    history.record("/b");
    history.record("/a");
    history.record("/b/"); // the same folder written differently is another entry
    EXPECT_EQ(history.paths(), (QList<QByteArray>{"/b/", "/a", "/b"}));
    EXPECT_EQ(stored(), texts({"/b/", "/a", "/b"}));

    for (int i = 0; i < 21; ++i)
        history.record("/f" + QByteArray::number(i));
    EXPECT_EQ(history.paths().size(), 20);
    EXPECT_EQ(history.paths().front(), QByteArray("/f20"));
    EXPECT_EQ(history.paths().back(), QByteArray("/f1"));
    EXPECT_EQ(stored().toArray().size(), 20);

    MoveMRU reloaded(preferences);
    EXPECT_EQ(reloaded.paths(), history.paths());
}

TEST_F(MoveMRUTest, SuggestionsDropVanishedFoldersFromTheHistory)
{
    const QByteArray one = folder("one"), two = folder("two"), three = folder("three"), four = folder("four"),
                     five = folder("five");
    preferences.setValue(prefkeys::moveDestinations, texts({one, two, three, four, five}));
    MoveMRU history(preferences);
    ASSERT_TRUE(QDir(QFile::decodeName(one)).removeRecursively());
    ASSERT_TRUE(QDir(QFile::decodeName(two)).removeRecursively());
    std::ofstream(two.constData()) << "now a file";

    EXPECT_EQ(history.suggestions(3), (QList<QByteArray>{three, four, five}));
    EXPECT_EQ(history.paths(), (QList<QByteArray>{three, four, five}));
    EXPECT_EQ(stored(), texts({three, four, five}));
    EXPECT_EQ(history.suggestions(2), (QList<QByteArray>{three, four}));
    EXPECT_EQ(history.paths().size(), 3) << "the limit does not shorten the history";

    // Nothing vanished: nothing is written.
    preferences.setValue(prefkeys::moveDestinations, QJsonValue(QStringLiteral("sentinel")));
    history.suggestions(3);
    EXPECT_EQ(stored(), QJsonValue(QStringLiteral("sentinel")));
}

TEST_F(MoveMRUTest, AStoredListWithAnythingButTextsLoadsAsEmpty)
{
    preferences.setValue(prefkeys::moveDestinations, QJsonArray{QStringLiteral("/a"), 3, QStringLiteral("/b")});
    MoveMRU history(preferences);
    EXPECT_TRUE(history.paths().isEmpty());
    EXPECT_EQ(stored().toArray().size(), 3) << "left as it is until the next save";

    preferences.setValue(prefkeys::moveDestinations, QStringLiteral("/a"));
    history.load();
    EXPECT_TRUE(history.paths().isEmpty());
    preferences.remove(prefkeys::moveDestinations);
    history.load();
    EXPECT_TRUE(history.paths().isEmpty());
}

TEST_F(MoveMRUTest, PathsThatAreNotUtf8StayForTheSessionButAreNotSaved)
{
    MoveMRU history(preferences);
    const QByteArray odd = folder("bad\xff\xfe");
    const QByteArray plain = folder("plain");
    history.record(plain);
    history.record(odd);
    EXPECT_EQ(history.paths(), (QList<QByteArray>{odd, plain}));
    EXPECT_EQ(history.suggestions(3), (QList<QByteArray>{odd, plain}));
    EXPECT_EQ(stored(), texts({plain}));
}

} // namespace
