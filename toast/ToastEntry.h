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
};

// What the toast view shows for one entry. Rebuilt on every redraw, never stored.
struct ToastFileItem {
    QString id;        // the record id as text; unique within a toast
    QString fileName;  // display text of the name
    QString fileSize;  // "Folder" or the byte count
    QString filePath;  // display text of the path
    int index = 0;     // position in the toast, from 1
    bool operator==(const ToastFileItem &) const = default;
};

enum class DynamicIslandToastState { hidden, visible };

// Same length and order as `entries`. Size 0 with a path reads as a folder; the rule looks
// at the snapshot only, so an empty regular file shows "Folder" too.
std::vector<ToastFileItem> makeToastFileItems(const std::vector<ToastEntry> &entries);

} // namespace dowsel
