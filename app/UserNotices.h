#pragma once

#include "expiry/CleanupService.h"
#include "platform/Notifier.h"

#include <vector>

namespace dowsel {

// The texts of what Dowsel must tell the user outside its windows, in the user's language.
namespace UserNotices {

// The store cannot be opened: Dowsel stops. `error` names the file and SQLite's reason.
Notice storeCannotOpen(const QString &error);
// The store was damaged; it now lies at `setAsidePath` and a fresh one took its place.
Notice storeReplaced(const QString &damage, const QString &setAsidePath);
// The store went bad while running and no new file could be made: Dowsel goes on in memory.
Notice storeInMemory(const QString &damage, const QString &error);
// Expired files that the Trash refused; they stay where they are.
Notice expiriesNotTrashed(const std::vector<TrashFailure> &failures);
// Changes to the store keep failing (locked, full or read-only disk).
Notice storeWritesFailing(const QString &error);

} // namespace UserNotices

} // namespace dowsel
