#include "move/MoveInputViewModel.h"

#include <gtest/gtest.h>

using namespace dowsel;

namespace {

const QByteArray home = "/home/u";

// Folders that exist, for the model's look-up: names below home.
const QList<QByteArray> existing = {"Work", "Projects", "Projects/Client2", "École"};

std::optional<QByteArray> existingFolder(const QByteArray &parent, const QString &word)
{
    for (const QByteArray &folder : existing) {
        const QByteArray path = home + '/' + folder;
        const QByteArray name = path.sliced(path.lastIndexOf('/') + 1);
        if (path.left(path.lastIndexOf('/')) == parent && folded(QString::fromUtf8(name)) == folded(word))
            return name;
    }
    return std::nullopt;
}

class MoveInput : public ::testing::Test {
protected:
    MoveInputViewModel model{home, nullptr, existingFolder};
    int changes = 0;

    void SetUp() override
    {
        QObject::connect(&model, &MoveInputViewModel::changed, [this] { ++changes; });
    }
    // What the toast controller does on every key press.
    void type(const QString &query, const QList<QByteArray> &folders)
    {
        QList<QByteArray> paths;
        for (const QByteArray &folder : folders)
            paths.append(home + '/' + folder);
        model.setQuery(query);
        model.setResults(search(query, FolderPaths(paths), home, 3));
        model.clampSelection();
    }
};

TEST_F(MoveInput, BlankQueriesShowTheRecentDestinations)
{
    model.reset({home + "/Recent", "/media/disk/Other"});
    EXPECT_TRUE(model.showsRecent());
    EXPECT_EQ(model.rowPaths(), (QList<QByteArray>{home + "/Recent", "/media/disk/Other"}));
    EXPECT_EQ(model.selectedURL(), home + "/Recent");
    EXPECT_EQ(model.panelHeight(), 2 * 32 + 13 + 2 + 52);

    type(QStringLiteral("  \t "), {"Recent"});
    EXPECT_TRUE(model.showsRecent());
    EXPECT_FALSE(model.showsCreateRow());
    EXPECT_FALSE(model.newFolderURL());
    EXPECT_EQ(model.panelHeight(), 2 * 32 + 13 + 2 + 52);

    type(QStringLiteral("\tr"), {"Recent"});
    EXPECT_FALSE(model.showsRecent());
    EXPECT_EQ(model.rowPaths(), QList<QByteArray>{home + "/Recent"});
    EXPECT_EQ(model.panelHeight(), 32 + 13 + 52 + 28);

    model.reset({});
    EXPECT_EQ(model.query(), QString());
    EXPECT_TRUE(model.results().isEmpty());
    EXPECT_FALSE(model.selectedURL());
    EXPECT_EQ(model.panelHeight(), 52);
}

TEST_F(MoveInput, TheHighlightStaysOnTheShownRows)
{
    type(QStringLiteral("notes"), {"Notes", "A/Notes", "B/Notes"});
    model.moveSelection(-1);
    EXPECT_EQ(model.selectedIndex(), 0);
    model.moveSelection(+1);
    model.moveSelection(+1);
    const int before = changes;
    model.moveSelection(+1);
    EXPECT_EQ(model.selectedIndex(), 2);
    EXPECT_EQ(changes, before) << "no change, no notification";
    EXPECT_EQ(model.selectedURL(), home + "/B/Notes");

    type(QStringLiteral("b notes"), {"Notes", "A/Notes", "B/Notes"});
    ASSERT_EQ(model.rowPaths().size(), 1);
    EXPECT_EQ(model.selectedIndex(), 0);

    type(QStringLiteral("zzz"), {"Notes"});
    EXPECT_EQ(model.selectedIndex(), 0);
    EXPECT_FALSE(model.selectedURL());
    model.moveSelection(+1);
    EXPECT_EQ(model.selectedIndex(), 0);

    model.setSelectedIndex(-4);
    EXPECT_FALSE(model.selectedURL());
}

TEST_F(MoveInput, NewFolderFromTheWordsOrInPlaceOfTheMatchedSegment)
{
    // Leading words that name existing folders are levels (in the folder's own spelling).
    type(QStringLiteral("Work  Q3"), {"Documents"});
    EXPECT_EQ(model.newFolderURL(), home + "/Work/Q3");
    EXPECT_FALSE(model.newFolder().wordsJoined);
    EXPECT_TRUE(model.showsCreateRow());
    EXPECT_EQ(model.displayPath(*model.newFolderURL()), QStringLiteral("~/Work/Q3"));
    type(QStringLiteral("projects client2 invoices"), {"Documents"});
    EXPECT_EQ(model.newFolderURL(), home + "/Projects/Client2/invoices");
    type(QStringLiteral("ecole cours"), {"Documents"});
    EXPECT_EQ(model.newFolderURL(), home + "/École/cours");

    // Words that name no folder make one name.
    type(QStringLiteral("old proj"), {"Documents"});
    EXPECT_EQ(model.newFolderURL(), home + "/old proj");
    EXPECT_TRUE(model.newFolder().wordsJoined);
    type(QStringLiteral("work old  proj"), {"Documents"});
    EXPECT_EQ(model.newFolderURL(), home + "/Work/old proj");
    type(QStringLiteral("Work"), {"Documents"});
    EXPECT_EQ(model.newFolderURL(), home + "/Work");
    EXPECT_FALSE(model.newFolder().wordsJoined);

    type(QStringLiteral("doc inv"), {"Documents/Invoices/2024", "Documents/Invoices"});
    ASSERT_EQ(model.results().front().path, home + "/Documents/Invoices");
    EXPECT_EQ(model.newFolderURL(), home + "/Documents/inv");

    model.setSelectedIndex(1); // Documents/Invoices/2024: "inv" matched its second segment too
    EXPECT_EQ(model.newFolderURL(), home + "/Documents/inv");

    // Words that matched inside one segment together stay one name in its place.
    type(QStringLiteral("pic old proj"), {"Pictures/Old Projects"});
    ASSERT_EQ(model.results().size(), 1);
    EXPECT_EQ(model.newFolderURL(), home + "/Pictures/old proj");

    type(QStringLiteral("Été"), {"Été"});
    EXPECT_EQ(model.newFolderURL(), home + "/Été");
}

TEST_F(MoveInput, ASlashSpellsOutNestedFolders)
{
    type(QStringLiteral("Projects/website"), {"Documents"});
    EXPECT_EQ(model.newFolderURL(), home + "/Projects/website");
    type(QStringLiteral(" new client / Q3 plans /"), {"Documents"});
    EXPECT_EQ(model.newFolderURL(), home + "/new client/Q3 plans");
    type(QStringLiteral("~/Work/a"), {"Documents"});
    EXPECT_EQ(model.newFolderURL(), home + "/Work/a");
    type(QString::fromUtf8(home + "/Work/b"), {"Documents"});
    EXPECT_EQ(model.newFolderURL(), home + "/Work/b");
    // The typed path wins over a highlighted match.
    type(QStringLiteral("doc/inv"), {"Documents/Invoices"});
    ASSERT_EQ(model.results().size(), 1);
    EXPECT_EQ(model.newFolderURL(), home + "/doc/inv");
    // Only slashes: nothing to make, no row.
    type(QStringLiteral(" / "), {"Documents"});
    EXPECT_FALSE(model.showsCreateRow());
}

TEST_F(MoveInput, NewFoldersNeverLeaveHomeAndTheRowSaysWhy)
{
    for (const char *query : {"..", ".", "Work ..", "../../etc", "a/../b", "/tmp", "/home/ux/a", "~/.."}) {
        type(QString::fromUtf8(query), {"Documents"});
        EXPECT_FALSE(model.newFolderURL()) << query;
        EXPECT_FALSE(model.newFolder().refusal.isEmpty()) << query;
        EXPECT_TRUE(model.showsCreateRow()) << query;
        EXPECT_EQ(model.panelHeight(), 52 + 28) << query;
    }
    type(QStringLiteral("/tmp"), {"Documents"});
    EXPECT_EQ(model.newFolder().refusal, QStringLiteral("Only folders inside your home folder can be created"));
    type(QStringLiteral("a .."), {"Documents"}); // one name, and a fine one
    EXPECT_EQ(model.newFolderURL(), home + "/a ..");
    type(QString(256, QLatin1Char('n')), {"Documents"});
    EXPECT_EQ(model.newFolder().refusal, QStringLiteral("A folder name can be at most 255 bytes long"));

    // A match whose path is outside home cannot place a folder outside home either.
    model.setQuery(QStringLiteral("dis"));
    model.setResults({FolderMatch{"/media/disk", 1, 1, {"media", "disk"}}});
    EXPECT_EQ(model.newFolderURL(), home + "/media/dis");
}

TEST_F(MoveInput, DisplayPathsAndBreadcrumbs)
{
    EXPECT_EQ(model.displayPath(home + "/Documents/a b"), QStringLiteral("~/Documents/a b"));
    EXPECT_EQ(model.displayPath("/home/user2/x"), QStringLiteral("/home/user2/x"));
    EXPECT_EQ(model.displayPath(home), QStringLiteral("/home/u"));
    EXPECT_EQ(model.breadcrumb(home + "/Documents//Invoices/"), (QStringList{"Documents", "Invoices"}));
    EXPECT_EQ(model.breadcrumb("/media/disk"), (QStringList{"media", "disk"}));
    EXPECT_FALSE(model.breadcrumb(home + "/bad\xff").front().isEmpty());
}

} // namespace
