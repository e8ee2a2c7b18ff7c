#pragma once

#include "StoreTestSupport.h"

#include "core/DuplicateFinder.h"
#include "move/SiteDestinations.h"
#include "expiry/CleanupService.h"
#include "move/FolderIndex.h"
#include "move/MoveMRU.h"
#include "platform/fake/Executors.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeFolderWatcher.h"
#include "FakeToastHost.h"
#include "toast/FileMover.h"
#include "toast/ToastController.h"

namespace dowsel::testing {

// A toast controller on a real store, clean-up service, folder index and file mover, with
// fakes for the screen and the desktop. Everything runs inline on virtual time, except the
// cross-device copies, which wait in `background` until the test runs them.
class ToastFixture : public StoreFixture {
protected:
    void SetUp() override
    {
        StoreFixture::SetUp();
        if (HasFatalFailure())
            return;
        records = store.get();
        actor = std::make_unique<TrackedFileActor>(mainThread, std::move(store));
        cleanup = std::make_unique<CleanupService>(*actor, trash, clock, clock, mainThread);
        home = QFile::encodeName(dir.path()) + "/home";
        ASSERT_EQ(::mkdir(home.constData(), 0755), 0);
        folderIndex =
            std::make_unique<FolderIndex>(home, std::make_unique<FakeFolderWatcher>(), clock, clock, mainThread);
        moveMRU = std::make_unique<MoveMRU>(prefs);
        siteDestinations = std::make_unique<SiteDestinations>(prefs);
        duplicates = std::make_unique<DuplicateCheck>(std::make_shared<DuplicateFinder>(downloads), duplicateWorker,
                                                      mainThread);
        controller = std::make_unique<ToastController>(ToastController::Services{
            .store = *actor,
            .cleanupService = *cleanup,
            .preferences = prefs,
            .clock = clock,
            .scheduler = clock,
            .mainExecutor = mainThread,
            .host = host,
            .focus = focus,
            .workspace = workspace,
            .clipboard = clipboard,
            .launcher = launcher,
            .mover = mover,
            .folderIndex = *folderIndex,
            .moveMRU = *moveMRU,
            .shareTargets = [this] { return shareTargets; },
            .siteDestinations = siteDestinations.get(),
            .duplicates = duplicates.get(),
        });
    }

    // A file in Downloads with its record (the store now belongs to the actor).
    RecordId track(const QByteArray &name, const QByteArray &content = "content")
    {
        const std::uint64_t inode = writeFile(download(name), content);
        EXPECT_NE(inode, 0u) << name.constData();
        return records->insertNew(identityOf(download(name)), download(name), name, content.size());
    }

    // A new download with its record, handed to the controller as the file processor does.
    RecordId arrive(const QByteArray &name, const QByteArray &content = "content")
    {
        const RecordId id = track(name, content);
        controller->handleNewFile(id);
        return id;
    }

    std::optional<FileState> stateOf(RecordId id) const
    {
        const auto record = records->record(id);
        return record ? std::optional(record->state) : std::nullopt;
    }

    bool isVisible() const { return controller->state() == DynamicIslandToastState::visible; }

    InlineExecutor mainThread;
    ManualExecutor background;
    TrackedFileStore *records = nullptr;
    std::unique_ptr<TrackedFileActor> actor;
    std::unique_ptr<CleanupService> cleanup;
    QByteArray home;
    std::unique_ptr<FolderIndex> folderIndex;
    std::unique_ptr<MoveMRU> moveMRU;
    std::unique_ptr<SiteDestinations> siteDestinations;
    ManualExecutor duplicateWorker; // the copy checks wait here until the test runs them
    std::unique_ptr<DuplicateCheck> duplicates;
    FakeToastHost host;
    FakeFocusTracker focus;
    FakeWorkspace workspace;
    FakeClipboard clipboard;
    FakeProcessLauncher launcher;
    FileMover mover{background, mainThread};
    std::vector<ShareTarget> shareTargets{
        {ShareTarget::Kind::email, QStringLiteral("Email"), QStringLiteral("mail-message-new"), "/usr/bin/xdg-email"}};
    std::unique_ptr<ToastController> controller;
};

} // namespace dowsel::testing
