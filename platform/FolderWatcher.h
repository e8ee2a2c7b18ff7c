#pragma once

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <vector>

namespace dowsel {

// A folder as the crawler found it. The inode tells a folder apart from a new one created
// under the same name.
struct FolderEntry {
    QByteArray path;
    std::uint64_t inode = 0;
};

// Reports that folders may have appeared, vanished or been renamed inside the watched
// folders. Changes to files are not reported.
class FolderWatcher {
public:
    virtual ~FolderWatcher() = default;

    // `onChange` runs on the watcher's own thread, at most once per batch of kernel events;
    // it should only pass the news on.
    virtual void setChangeHandler(std::function<void()> onChange) = 0;
    // From now on watches exactly `folders`. False when the system's limit on watches was
    // reached before every folder was watched; the folders watched so far stay watched.
    virtual bool watchExactly(const std::vector<FolderEntry> &folders) = 0;
};

} // namespace dowsel
