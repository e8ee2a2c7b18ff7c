#pragma once

#include "core/TrackedFile.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <vector>

namespace dowsel {

// One file that the current toast covers: a snapshot of its record when the file arrived. A
// later rename leaves the entry as it was.
struct ToastEntry {
    RecordId id = 0;
    QByteArray fileName;
    QByteArray filePath;
    std::int64_t fileSize = 0; // 0 for a folder
    QString site;              // where it was downloaded from ("github.com"), or empty
    QByteArray sameAs;         // the name of a file in Downloads with the same content, once known
};

// What the toast view shows for one entry. Rebuilt on every redraw, never stored.
struct ToastFileItem {
    QString id;        // the record id as text; unique within a toast
    QString fileName;  // display text of the name
    QString fileSize;  // "Folder" or the byte count
    QString filePath;  // display text of the path
    int index = 0;     // position in the toast, from 1
    QString site;      // "github.com", or empty
    QString sameAs;    // display text of the name of an identical file, or empty
    bool operator==(const ToastFileItem &) const = default;
};

enum class DynamicIslandToastState { hidden, visible };

// The line under the name on the island: that the first file is the same as a file already
// in Downloads (or how many of the toast's files are), then the first file's site; `offersTrashCopies`
// when there is any such copy. Empty text when there is nothing to say.
struct IslandCaption {
    QString text;
    bool offersTrashCopies = false;
    bool operator==(const IslandCaption &) const = default;
};
IslandCaption islandCaption(const std::vector<ToastFileItem> &files);

// Same length and order as `entries`. Size 0 with a path reads as a folder; the rule looks
// at the snapshot only, so an empty regular file shows "Folder" too.
std::vector<ToastFileItem> makeToastFileItems(const std::vector<ToastEntry> &entries);

} // namespace dowsel
