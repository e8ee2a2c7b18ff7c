#include "toast/ToastEntry.h"

namespace dowsel {

std::vector<ToastFileItem> makeToastFileItems(const std::vector<ToastEntry> &entries)
{
    std::vector<ToastFileItem> items;
    items.reserve(entries.size());
    for (const ToastEntry &entry : entries) {
        TrackedFile snapshot;
        snapshot.filePath = entry.filePath;
        snapshot.fileSize = entry.fileSize;
        items.push_back(ToastFileItem{
            .id = QString::number(entry.id),
            .fileName = displayText(entry.fileName),
            .fileSize = snapshot.sizeLabel(),
            .filePath = displayText(entry.filePath),
            .index = int(items.size()) + 1,
        });
    }
    return items;
}

} // namespace dowsel
