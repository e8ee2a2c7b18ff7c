#pragma once

#include <QByteArray>

#include <functional>
#include <vector>

namespace dowsel {

// News from a watched folder.
struct FolderChange {
    enum class Kind {
        children, // a folder appeared in it, vanished from it or was renamed
        marker,   // a file that may make it a cache or an environment appeared or vanished
        gone,     // the folder itself was deleted; its watch is no more
        overflow, // the system dropped news: anything may have changed (`folder` is empty)
    };
    Kind kind = Kind::children;
    QByteArray folder;

    friend bool operator==(const FolderChange &, const FolderChange &) = default;
};

// Watches folders, by path, for folders appearing, vanishing or being renamed inside them.
// Changes to files are not reported, except for the marker files the folder index prunes by.
class FolderWatcher {
public:
    enum class WatchResult { watched, limitReached, failed };

    virtual ~FolderWatcher() = default;

    // `onChanges` runs on the watcher's own thread, once per batch of kernel events, with the
    // batch's news in order (each at most once); it should only pass them on.
    virtual void setChangeHandler(std::function<void(std::vector<FolderChange>)> onChanges) = 0;
    // Files by these names are reported as `marker` news when they appear or vanish.
    virtual void setMarkerNames(std::vector<QByteArray> names) = 0;
    // Starts watching the folder at `path`; watching it again changes nothing. A folder
    // renamed while watched keeps its watch, which from then on reports under `path`.
    virtual WatchResult watch(const QByteArray &path) = 0;
    virtual void unwatch(const QByteArray &path) = 0;
    virtual std::size_t watchCount() const = 0;
};

} // namespace dowsel
