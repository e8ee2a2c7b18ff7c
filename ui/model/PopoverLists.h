#pragma once

#include "core/TrackedFile.h"
#include "core/TrackedFileStore.h"

#include <QLoggingCategory>

#include <functional>
#include <map>
#include <vector>

Q_DECLARE_LOGGING_CATEGORY(lcPopover)

namespace dowsel {

class Preferences;

// An item left alone in Downloads that has been there longer than the chosen age.
struct BacklogFile {
    TrackedFile record;
    std::int64_t bytes = 0; // a folder's contents counted in
    Date since = 0;         // when it came: the later of its birth and its last change
};

// The lists of the tray popover, worked out from every record in the store.
struct PopoverLists {
    std::vector<TrackedFile> temporaryFiles; // earliest expiry first, no expiry last
    std::vector<TrackedFile> ignoredFiles;   // store order
    std::vector<TrackedFileStore::TrashedFile> trashedFiles; // what Dowsel trashed lately, newest first
    std::vector<BacklogFile> backlog;        // the ignored files older than the chosen age, oldest first
    std::int64_t backlogBytes = 0;
    std::vector<RecordId> inUse;             // temporary records whose expiry waits for a program
    int recordCount = 0;                     // every record, listed or not
    std::map<RecordId, QString> sites;       // where listed files were downloaded from, when known

    bool isEmpty() const { return temporaryFiles.empty() && ignoredFiles.empty() && trashedFiles.empty(); }
};

// What a read for the popover looks at besides the records.
struct PopoverFetch {
    Date now = 0;
    Seconds backlogAge = 30 * 86400.0; // an ignored file older than this is in the backlog
    Seconds trashWindow = 7 * 86400.0; // how far back the Trash section goes
};

inline constexpr int defaultBacklogAgeDays = 30;
inline const QString backlogAgeKey = QStringLiteral("backlogAgeDays");
// The backlog age the user chose, in days (30 unless changed; at least 1).
int backlogAgeDays(const Preferences &prefs);

// The temporary records, sorted by expiry with a missing expiry counting as the far future;
// records with the same expiry keep their order.
std::vector<TrackedFile> sortedTemporaryFiles(const std::vector<TrackedFile> &records);

// Whether a dismissed record belongs in the "Ignored / already there" list: a visible,
// finished name directly in `downloadsFolder`, whose path still holds the record's inode.
// Reads the disk (lstat), so it runs on the store's worker, never on the main thread.
bool isListedAsIgnored(const TrackedFile &record, const QByteArray &downloadsFolder);

// Both lists from `records`, in one pass. Writes the popover's trace line.
PopoverLists makePopoverLists(std::vector<TrackedFile> records, const QByteArray &downloadsFolder);

// Reads every record and builds the lists, with the sites of the listed files (read from
// their attributes); call it inside a store actor call. With `fetch`, also the Trash section
// and the backlog (which read the disk).
PopoverLists fetchPopoverLists(TrackedFileStore &store, const QByteArray &downloadsFolder);
PopoverLists fetchPopoverLists(TrackedFileStore &store, const QByteArray &downloadsFolder, const PopoverFetch &fetch);

// The ignored files that came before `cutoff`, oldest first, with the space each holds.
std::vector<BacklogFile> backlogOf(const std::vector<TrackedFile> &ignored, Date cutoff);

// Makes each record temporary with the default expiry and arms its clean-up through
// `schedule`. Returns how many of the changes could not be saved.
int makeTemporary(TrackedFileStore &store, const std::vector<RecordId> &ids,
                  const std::function<void(RecordId, Date)> &schedule);

// "Keep All": every listed temporary record dismissed and untagged, in one pass on the store.
// Returns how many of the changes could not be saved.
int keepAll(TrackedFileStore &store, const std::vector<RecordId> &ids);

// Trace-line form of a date, "2027-01-15 08:00:00 +0000", or "nil".
QString dateDescription(Date date);
QString optionalDateDescription(std::optional<Date> date);

} // namespace dowsel
