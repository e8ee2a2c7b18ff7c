#include "ToastTestSupport.h"

#include "core/DownloadOrigin.h"
#include "toast/GlobalShortcuts.h"

#include <QDir>

#include <sys/xattr.h>

#include <cerrno>
#include <cstring>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

class ToastOrigin : public ToastFixture {
protected:
    void SetUp() override
    {
        ToastFixture::SetUp();
        if (HasFatalFailure())
            return;
        const QByteArray probe = download(".probe");
        ASSERT_NE(writeFile(probe), 0u);
        if (::setxattr(probe.constData(), "user.dowsel-probe", "1", 1, 0) != 0)
            GTEST_SKIP() << "no user extended attributes under " << downloads.constData() << ": "
                         << std::strerror(errno);
        ::unlink(probe.constData());
    }

    // A download as Chromium leaves it: the file, with the address it came from.
    RecordId arriveFrom(const QByteArray &name, const QByteArray &url)
    {
        const RecordId id = track(name, "bytes of " + name);
        const QByteArray path = download(name);
        EXPECT_EQ(::setxattr(path.constData(), originUrlAttribute, url.constData(), std::size_t(url.size()), 0), 0);
        controller->handleNewFile(id);
        clock.advance(ToastController::showDelay);
        return id;
    }

    QByteArray folder(const QByteArray &relative)
    {
        const QByteArray path = home + "/" + relative;
        EXPECT_TRUE(QDir().mkpath(QFile::decodeName(path)));
        return path;
    }
};

TEST_F(ToastOrigin, TheSiteShowsAndFilesFromItGoWhereItsFilesWentBefore)
{
    // Names that a query scores alike, so that only the histories order them.
    const QByteArray releases = folder("Sorted/Tools");
    const QByteArray papers = folder("Sorted/Texts");
    folderIndex->start();
    ASSERT_TRUE(folderIndex->hasGathered());

    arriveFrom("tool-1.0.tar.gz", "https://www.github.com/o/tool/releases/download/v1/tool-1.0.tar.gz?sig=x");
    ASSERT_EQ(controller->viewInput().files.size(), 1u);
    EXPECT_EQ(controller->viewInput().files[0].site, QStringLiteral("github.com"));
    EXPECT_EQ(islandCaption(controller->viewInput().files).text, QStringLiteral("github.com"));
    controller->performMove(releases);
    EXPECT_EQ(siteDestinations->paths(QStringLiteral("github.com")), QList<QByteArray>{releases});

    // A file from another site goes elsewhere, which makes that folder the most recent one.
    clock.advance(1);
    arriveFrom("paper.pdf", "https://arxiv.org/pdf/2401.00001");
    controller->performMove(papers);
    ASSERT_EQ(moveMRU->paths().front(), papers);

    // The next file from github.com is offered its site's folder first, before anything is typed…
    clock.advance(1);
    arriveFrom("tool-2.0.tar.gz", "https://github.com/o/tool/releases/download/v2/tool-2.0.tar.gz");
    controller->openMoveInput();
    ASSERT_TRUE(controller->isMoveInputVisible());
    EXPECT_EQ(controller->moveInputModel().mruSuggestions(), (QList<QByteArray>{releases, papers}));
    // …and among matches for a query both folders answer.
    controller->moveQueryChanged(QStringLiteral("sorted"));
    ASSERT_GE(controller->moveInputModel().results().size(), 2);
    EXPECT_EQ(controller->moveInputModel().results().front().path, releases);
    controller->closeMoveInput();
    controller->dismissAll();

    // A file from nowhere in particular gets the plain recent order.
    clock.advance(1);
    arrive("local.txt");
    clock.advance(ToastController::showDelay);
    EXPECT_EQ(controller->viewInput().files[0].site, QString());
    controller->openMoveInput();
    EXPECT_EQ(controller->moveInputModel().mruSuggestions(), (QList<QByteArray>{papers, releases}));
    controller->moveQueryChanged(QStringLiteral("sorted"));
    ASSERT_GE(controller->moveInputModel().results().size(), 2);
    EXPECT_EQ(controller->moveInputModel().results().front().path, papers);
}

using ToastCopies = ToastFixture;

TEST(IslandCaptionText, TheFrontFilesCopyThenItsSiteElseHowManyAreCopies)
{
    const auto item = [](const char *site, const char *sameAs) {
        ToastFileItem file;
        file.site = QString::fromUtf8(site);
        file.sameAs = QString::fromUtf8(sameAs);
        return file;
    };
    EXPECT_EQ(islandCaption({}), IslandCaption{});
    EXPECT_EQ(islandCaption({item("", "")}), IslandCaption{});
    EXPECT_EQ(islandCaption({item("gnu.org", "")}), (IslandCaption{QStringLiteral("gnu.org"), false}));
    EXPECT_EQ(islandCaption({item("gnu.org", "tar.gz"), item("", "")}),
              (IslandCaption{QStringLiteral("Same as tar.gz · gnu.org"), true}));
    EXPECT_EQ(islandCaption({item("gnu.org", ""), item("", "a.txt"), item("x.org", "b.txt")}),
              (IslandCaption{QStringLiteral("2 of them already in Downloads · gnu.org"), true}));
    EXPECT_EQ(islandCaption({item("", ""), item("", "a.txt")}),
              (IslandCaption{QStringLiteral("1 of them already in Downloads"), true}));
}

TEST_F(ToastCopies, ACopyIsToldWhenTheAnswerComesAndOneKeyTrashesTheCopyNotTheOriginal)
{
    const RecordId original = arrive("report.pdf", "the same report, byte for byte");
    clock.advance(ToastController::showDelay);
    duplicateWorker.runAll();
    EXPECT_TRUE(islandCaption(controller->viewInput().files).text.isEmpty()) << "alone in Downloads";
    controller->dismissAll();
    clock.advance(1);

    const RecordId copy = arrive("report (1).pdf", "the same report, byte for byte");
    const RecordId nearly = arrive("report (2).pdf", "the same report, byte for bytE");
    clock.advance(ToastController::showDelay);
    ASSERT_TRUE(isVisible()) << "the toast does not wait for the check";
    EXPECT_TRUE(controller->viewInput().files[0].sameAs.isEmpty());
    EXPECT_FALSE(controller->hasCopies());

    duplicateWorker.runAll();
    const auto files = controller->viewInput().files;
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(files[0].sameAs, QStringLiteral("report.pdf"));
    EXPECT_EQ(files[1].sameAs, QString()) << "same size, other content";
    const IslandCaption caption = islandCaption(files);
    EXPECT_EQ(caption.text, QStringLiteral("Same as report.pdf"));
    EXPECT_TRUE(caption.offersTrashCopies);

    ASSERT_EQ(shortcutAction({ShortcutKey::Backspace, SuperModifier | ShiftModifier | AltModifier},
                             ShortcutContext{.isToastShown = true}),
              ShortcutAction::trashCopies);
    controller->trashCopies();
    EXPECT_EQ(trash.paths(), QByteArrayList{download("report (1).pdf")});
    EXPECT_FALSE(records->record(copy)) << "the copy's record goes with it";
    EXPECT_EQ(stateOf(original), FileState::dismissed);
    EXPECT_EQ(stateOf(nearly), FileState::unprocessed);
    ASSERT_EQ(controller->toastEntries().size(), 1u) << "the other file stays on the toast";
    EXPECT_EQ(controller->toastEntries()[0].id, nearly);
    EXPECT_TRUE(isVisible());

    controller->trashCopies();
    EXPECT_EQ(trash.paths().size(), 1) << "without a copy the key does nothing";
    EXPECT_TRUE(isVisible());
}

TEST_F(ToastCopies, TheToastClosesWhenItsOnlyFileWasTheCopyAndALateAnswerIsIgnored)
{
    const RecordId original = arrive("setup.exe", "installer");
    clock.advance(ToastController::showDelay);
    controller->dismissAll();
    clock.advance(1);
    const RecordId copy = arrive("setup (1).exe", "installer");
    clock.advance(ToastController::showDelay);
    duplicateWorker.runAll();
    controller->trashCopies();
    EXPECT_FALSE(isVisible());
    EXPECT_EQ(trash.paths(), QByteArrayList{download("setup (1).exe")});
    EXPECT_EQ(stateOf(original), FileState::dismissed);
    EXPECT_FALSE(records->record(copy));

    // A toast that already ended keeps no line for an answer that comes after it.
    clock.advance(1);
    arrive("setup (2).exe", "installer");
    clock.advance(ToastController::showDelay);
    controller->dismissAll();
    duplicateWorker.runAll();
    controller->trashCopies();
    EXPECT_EQ(trash.paths().size(), 1);
}

TEST_F(ToastCopies, ACopyWhoseOriginalWentIsTheLastOfItsContentAndStays)
{
    arrive("photo.jpg", "jpeg bytes");
    clock.advance(ToastController::showDelay);
    controller->dismissAll();
    clock.advance(1);
    const RecordId copy = arrive("photo (1).jpg", "jpeg bytes");
    clock.advance(ToastController::showDelay);
    duplicateWorker.runAll();
    ASSERT_TRUE(controller->hasCopies());
    ASSERT_EQ(::rename(download("photo.jpg").constData(), (home + "/photo.jpg").constData()), 0);

    controller->trashCopies();
    EXPECT_TRUE(trash.paths().isEmpty());
    EXPECT_TRUE(exists(download("photo (1).jpg")));
    EXPECT_EQ(stateOf(copy), FileState::unprocessed);
    ASSERT_EQ(host.notices.size(), 1u);
    EXPECT_EQ(host.notices[0], QStringLiteral("photo (1).jpg was not moved to the Trash: photo.jpg, which it copies, "
                                              "is no longer in Downloads."));
    EXPECT_TRUE(isVisible()) << "the file stays on the toast for another answer";
    EXPECT_FALSE(controller->hasCopies());
    EXPECT_TRUE(islandCaption(controller->viewInput().files).text.isEmpty());
}

} // namespace
