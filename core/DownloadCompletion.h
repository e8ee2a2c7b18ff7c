#pragma once

#include "core/FileEvent.h"
#include "core/FileIdentity.h"
#include "core/Lifetime.h"
#include "core/PosixFiles.h"
#include "core/TrackedFile.h"
#include "platform/Time.h"

#include <QByteArray>
#include <QHash>

#include <functional>
#include <optional>

namespace dowsel {

// Whether a download's writer is done with it. Browsers and downloaders write under the
// final name more often than not: curl and wget in place; Firefox with an empty placeholder
// under the final name and the data in "XXXX.ext.part" beside it, renamed over the
// placeholder at the end; aria2 in place with "name.aria2" beside the file until it is done.
// A file is offered once its writer has closed it and nothing touched it for `quietPeriod`,
// and no companion file says that more is coming.
namespace completion {

// How long a file written in place stays untouched after its writer closed it before it is
// offered.
constexpr double quietPeriod = 0.5;

// The sibling that shows the file at `path` (with `status`) is still being downloaded:
// "name.aria2", or for an empty file a Firefox ".part" file of the same extension. None when
// nothing says so.
std::optional<QByteArray> pendingCompanion(const QByteArray &path, const FileStatus &status);

// Names whose appearance or disappearance may finish a held download.
bool isCompanionName(const QByteArray &name);

} // namespace completion

// The recorded downloads whose writers may not be done yet, by path, each offered once it is
// complete. Lives on the file processor's executor; the processor tells it what happens to
// each path (writes, renames, replacements, removals).
class PendingOffers {
public:
    // Runs on the executor when the download at `path` is complete, with what it looks like.
    using Complete = std::function<void(RecordId id, const FileIdentity &identity, const QByteArray &path,
                                        const FileStatus &status)>;
    // A file written in place whose writer was never seen closing it is offered after this
    // long without a write.
    static constexpr Seconds stalledWriterWait = 30;

    PendingOffers(Scheduler &scheduler, Executor &executor, Complete complete);
    ~PendingOffers();
    PendingOffers(const PendingOffers &) = delete;
    PendingOffers &operator=(const PendingOffers &) = delete;

    // A new record for the item at `path`, with the flags of the event that brought it: moved
    // in whole, it is offered at once; written in place, once its writer is done.
    void add(RecordId id, const FileIdentity &identity, const QByteArray &path, FSEventFlags flags);
    // Something happened to the item at `path` (or, for a folder, inside it).
    void noteActivity(const QByteArray &path, FSEventFlags flags);
    // Another file took `path` over from `old` (Firefox renames the download over its
    // placeholder): a pending offer of `old` goes on with the new file.
    void replace(const QByteArray &path, const FileIdentity &old, const FileIdentity &replacement, FSEventFlags flags);
    void rename(const QByteArray &from, const QByteArray &to);
    // Forgets the offer at `path`; with `identity`, only if it is of that file.
    void drop(const QByteArray &path, std::optional<FileIdentity> identity = std::nullopt);
    // A companion file (".part", ".aria2") appeared or went: the offers it held are looked at again.
    void companionsChanged();

private:
    struct Offer {
        RecordId id = 0;
        FileIdentity identity;
        bool closed = false; // the last word of its writer was a close
        FileStatus seen; // what the file looked like when the quiet period began
        bool heldByCompanion = false;
        Scheduler::TimerId quiet = Scheduler::invalidTimer;
        std::uint64_t ticket = 0; // the current quiet timer's; an older one that fires acts not
    };

    void startQuietPeriod(const QByteArray &path);
    void check(const QByteArray &path);

    Scheduler &m_scheduler;
    Executor &m_executor;
    const Complete m_complete;
    QHash<QByteArray, Offer> m_offers;
    std::uint64_t m_tickets = 0;
    Lifetime m_lifetime;
};

} // namespace dowsel
