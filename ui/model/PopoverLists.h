#pragma once

#include "core/TrackedFile.h"

#include <QLoggingCategory>

#include <map>
#include <vector>

Q_DECLARE_LOGGING_CATEGORY(lcPopover)

namespace dowsel {

class TrackedFileStore;

// The two lists of the tray popover, worked out from every record in the store.
struct PopoverLists {
    std::vector<TrackedFile> temporaryFiles; // earliest expiry first, no expiry last
    std::vector<TrackedFile> ignoredFiles;   // store order
    int recordCount = 0;                     // every record, listed or not
    std::map<RecordId, QString> sites;       // where listed files were downloaded from, when known

    bool isEmpty() const { return temporaryFiles.empty() && ignoredFiles.empty(); }
};

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
// their attributes); call it inside a store actor call.
PopoverLists fetchPopoverLists(TrackedFileStore &store, const QByteArray &downloadsFolder);

// "Keep All": every listed temporary record dismissed and untagged, in one pass on the store.
// Returns how many of the changes could not be saved.
int keepAll(TrackedFileStore &store, const std::vector<RecordId> &ids);

// Trace-line form of a date, "2027-01-15 08:00:00 +0000", or "nil".
QString dateDescription(Date date);
QString optionalDateDescription(std::optional<Date> date);

} // namespace dowsel
