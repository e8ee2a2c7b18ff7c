#pragma once

#include "core/TrackedFileStore.h"

#include <QString>

#include <memory>
#include <optional>

namespace dowsel {

// What SQLite's own check says about the store file before it is used.
struct StoreCheck {
    enum class Health {
        healthy,      // or absent: a new store is made
        damaged,      // a database with damaged pages: set aside and start again
        notADatabase, // not a SQLite file at all: left alone, Dowsel cannot start
        unreadable,   // cannot be checked now (locked, no permission): left to the open
    };
    Health health = Health::healthy;
    QString detail; // SQLite's words, for the damaged and the refused cases
};

StoreCheck checkStoreFile(const QString &path);

// Moves a damaged store and its -wal and -shm companions aside, in the same folder, under a
// dated name ("Sivra.damaged-2024-05-01-142530.sqlite"), never over an existing file. The
// moved files keep their pairing, so SQLite tools can open the old store. Returns the new
// path of the main file, or none with `error` set when it could not be moved.
std::optional<QString> setAsideDamagedStore(const QString &path, Date when, QString *error);

// The store as the app starts with it.
struct OpenedStore {
    std::unique_ptr<TrackedFileStore> store;
    QString error;        // why there is no store
    QString damage;       // what was wrong with the old file, when it was set aside
    QString setAsidePath; // where the old file went
};

// Checks the file at `path`, sets it aside when it is damaged, and opens the store there (a
// fresh one after a set-aside). A file that is no database, or that cannot be moved away,
// is left exactly as it was and reported in `error`.
OpenedStore openCheckedStore(const QString &path, const Clock &clock, const Preferences &prefs, Trash &trash);

// What replacing a store that went bad while Dowsel ran did.
struct StoreReplacement {
    QString setAsidePath; // empty when the file could not be moved
    QString error;        // why the store now lives in memory only, if it does
    bool inMemory = false;
};

// Runs on the store's worker: closes the damaged database of `store`, sets its file aside
// and continues on a fresh file at `path`. When that is impossible the store continues in
// memory until the next start, which tries again.
StoreReplacement replaceDamagedStore(TrackedFileStore &store, const QString &path, const Clock &clock,
                                     const Preferences &prefs, Trash &trash);

} // namespace dowsel
