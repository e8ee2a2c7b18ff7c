#pragma once

#include "core/Actor.h"
#include "core/TrackedFile.h"
#include "platform/Trash.h"

#include <functional>
#include <memory>
#include <vector>

namespace dowsel {

namespace sqlite {
class Database;
class Query;
} // namespace sqlite

class Clock;
class Preferences;
class Trash;

// The one owner of every tracked-file record, on SQLite. Not thread-safe by itself: the
// app reaches it only through TrackedFileActor, which runs each call on the store's worker,
// one at a time, in arrival order. Failed fetches read as "no match"; failed saves are not
// reported (SQLite commits each change at once, so a save is the statement itself).
class TrackedFileStore {
public:
    struct FileInfo {
        QByteArray fileName;
        QByteArray filePath;
        std::int64_t fileSize = 0;
    };
    struct Expiry {
        RecordId id;
        Date expiresAt;
    };
    struct ExpiredRecord {
        QByteArray path;
        FileIdentity identity;
        RecordId id;
        Date expiresAt = 0;
        std::int64_t fileSize = 0;
    };
    struct RecordSummary {
        QByteArray path;
        FileIdentity identity;
        FileState state;
        RecordId id;
    };

    // Opens (creating if needed) the database at `path`. Returns null and sets `error` when
    // the file cannot be opened or holds something else; an existing file is never replaced.
    static std::unique_ptr<TrackedFileStore> open(const QString &path, const Clock &clock, const Preferences &prefs,
                                                  Trash &trash, QString *error);
    // $XDG_DATA_HOME/dowsel/Sivra.sqlite
    static QString defaultPath();
    ~TrackedFileStore();

    // Queries. A file is named by its identity (inode and guard); an inode alone finds the
    // record that holds the number, which may be of another file that is gone.
    std::optional<TrackedFile> recordFor(const FileIdentity &identity);
    std::optional<TrackedFile> recordForInode(std::uint64_t inode);
    std::optional<TrackedFile> record(RecordId id);
    bool isTracked(const FileIdentity &identity);
    std::optional<FileIdentity> activeIdentity(const QByteArray &path); // first match not dismissed
    std::optional<FileInfo> fileInfo(RecordId id);
    std::vector<Expiry> temporaryExpiries();
    std::vector<ExpiredRecord> fetchExpired();
    std::vector<RecordSummary> allRecords();
    std::vector<TrackedFile> allTrackedFiles(); // full rows, for the popover and the D-Bus list

    // Changes. insertNew returns 0 when the row could not be written (the file is tracked
    // already, or the disk is full). A record of another file with the same inode number is
    // stale and goes first, here and in replaceIdentity and dismissExisting.
    RecordId insertNew(const FileIdentity &identity, const QByteArray &path, const QByteArray &name,
                       std::int64_t size);
    void replaceIdentity(const FileIdentity &old, const FileIdentity &replacement, const QByteArray &path,
                         const QByteArray &name, std::int64_t size);
    void updatePath(const FileIdentity &identity, const QByteArray &path, const QByteArray &name);
    // A file written in place is recorded when it appears, often still empty; later writes
    // bring its size up to date.
    void updateSize(const FileIdentity &identity, std::int64_t size);
    void dismissExisting(const std::vector<DownloadFileSnapshot> &snapshots);
    // Both answer whether the change was saved: none or false when the record is gone or the
    // database refused the write (locked, full, damaged). Tags follow only a saved change.
    std::optional<Date> markTemporary(RecordId id, std::optional<Seconds> duration = std::nullopt);
    bool markDismissed(RecordId id);
    void removeRecordFor(const FileIdentity &identity);
    void removeRecord(RecordId id);
    // The file to the Trash now, then its record. When the Trash refuses, the record and its
    // tag stay and the reason is returned; nothing is returned when the file went (or was
    // already gone) or when there is no such record.
    std::optional<QString> deleteNow(RecordId id);
    // An extracted folder next to a temporary archive takes the archive's expiry.
    std::optional<Date> inheritArchiveExpiry(RecordId id);
    // Deletes the record only, leaving the file and its tags alone: for records whose file
    // is gone.
    void forgetRecord(RecordId id);

    // What Dowsel itself sent to the Trash, kept in a table of its own so it can be put back.
    struct TrashedFile {
        std::int64_t id = 0;
        QByteArray originalPath;
        TrashEntry entry;
        FileIdentity identity;
        std::int64_t fileSize = 0;
        Date trashedAt = 0;
    };
    struct PutBack {
        QByteArray path;             // where the item is now; empty when it was not put back
        bool otherName = false;      // its own name was taken, so it got a free one
        bool folderRecreated = false; // its folder was gone and was made again
        QString error;               // why it was not put back
    };
    // Remembers an item that went to the Trash as `entry`. Call it right after the move.
    void recordTrashed(const QByteArray &originalPath, const TrashEntry &entry, const FileIdentity &identity,
                       std::int64_t size);
    // The items Dowsel trashed that are still in the Trash as it left them, newest first,
    // trashed no earlier than `since` when given. Looks at the Trash each time: an entry
    // emptied or restored by another program is forgotten here; one in a Trash that is not
    // there (a drive not mounted now) is left out but kept.
    std::vector<TrashedFile> trashedFiles(std::optional<Date> since = std::nullopt);
    // The newest of those whose original path is `pathOrName`, or the same name in the same
    // folder reached another way ("./", a linked folder); for a bare name, whose original
    // name is.
    std::optional<TrashedFile> findTrashed(const QByteArray &pathOrName);
    // Moves the item back to its original path through its Trash entry, or beside it under a
    // free name ("report (restored).pdf") when another item has the path. The item is kept
    // for good (dismissed) before it arrives, so it is never offered as a new download.
    PutBack putBack(std::int64_t trashedId);

    static constexpr int schemaVersion = 3; // PRAGMA user_version; versions 1 and 2 are upgraded in place

    // Observers run on the store's worker after every change that committed; the app uses
    // this to refresh views.
    void setChangeObserver(std::function<void()> observer) { m_changed = std::move(observer); }
    // Runs on the store's worker, once per database, from inside the call that first finds the
    // file damaged: queue the repair, never run it from there.
    void setDamageObserver(std::function<void(const QString &reason)> observer);
    // Closes the database, then takes over the one of the store that `reopen` opens in its
    // place (the damaged file set aside by then). Record ids go on from the old database's
    // last one, so an id held from before never names a new record.
    void replaceDatabase(const std::function<std::unique_ptr<TrackedFileStore>()> &reopen);

private:
    // Removes the tag from the record's file, then the record; the record as it was, if any.
    std::optional<TrackedFile> removeRecordAndTag(RecordId id);
    // Deletes the rows that hold identity's inode for another file, or with an unknown state.
    bool dropStaleRecords(const FileIdentity &identity);
    TrackedFileStore(std::unique_ptr<sqlite::Database> db, const Clock &clock, const Preferences &prefs, Trash &trash);
    std::vector<TrackedFile> fetch(sqlite::Query &query);
    bool deleteRow(RecordId id);
    std::optional<TrashedFile> trashedRow(std::int64_t id);
    void forgetTrashed(std::int64_t id);
    void notifyChanged();

    std::unique_ptr<sqlite::Database> m_db;
    const Clock &m_clock;
    const Preferences &m_prefs;
    Trash &m_trash;
    std::function<void()> m_changed;
    std::function<void(const QString &)> m_damaged;
};

// "report (restored).pdf" for attempt 1, "report (restored 2).pdf" for 2...: the free names
// an item put back from the Trash takes when its own is taken.
QByteArray restoredName(const QByteArray &name, int attempt);

// Calls into the store from any thread: `call(work)` gives a future, `call(work, replyOn,
// done)` replies on another executor (the main thread).
using TrackedFileActor = Actor<TrackedFileStore>;

} // namespace dowsel
