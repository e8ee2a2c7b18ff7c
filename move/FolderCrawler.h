#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace dowsel {

// A folder as the crawler found it. The inode (as its parent's listing gives it) tells a
// folder apart from a new one created under the same name.
struct FolderEntry {
    QByteArray path;
    std::uint64_t inode = 0;
    // Whether its contents were read: false for folders that could not be opened and for
    // other file systems mounted below home.
    bool listed = true;
};

// Lets a caller watch folders as the crawl reaches them.
struct CrawlHooks {
    // Runs before a folder's contents are read, so that nothing created meanwhile is missed.
    std::function<void(const QByteArray &path)> beforeListing;
    // Runs when that folder then turned out to be a cache or an environment; it is not kept.
    std::function<void(const QByteArray &path, std::uint64_t inode)> pruned;
};

// True for a folder name whose whole subtree holds no destination: hidden folders,
// dependency and build trees, Python's site-packages, and package folders such as "Tool.app".
bool isSkippedFolderName(QByteArrayView name);

// Names of files whose presence inside a folder leaves that folder out with its subtree:
// CACHEDIR.TAG (the Cache Directory Tagging convention) and pyvenv.cfg (a Python
// environment).
bool isPruneMarkerName(QByteArrayView name);

// Every folder under `homePath` that a download could be moved into, parents before their
// children. Skipped subtrees are never entered, and neither are ~/Library, snapd's ~/snap,
// Go's module cache or folders holding a marker file; symbolic links are never followed and
// other file systems mounted below home are listed but not entered. Folders that cannot be
// read are listed without their contents.
std::vector<FolderEntry> crawlFolders(const QByteArray &homePath, const CrawlHooks *hooks = nullptr);

// The same for the folder `name` inside `parentPath` (home or a folder the crawl keeps): the
// folder itself, unless it is skipped, and what is kept below it, appended to `found`.
void crawlFolder(const QByteArray &homePath, const QByteArray &parentPath, QByteArrayView name,
                 std::vector<FolderEntry> &found, const CrawlHooks *hooks = nullptr);

struct ChildFolder {
    QByteArray name;
    std::uint64_t inode = 0;
};

// The folders directly inside `path` whose names the crawl would not skip; none when `path`
// cannot be read.
std::optional<std::vector<ChildFolder>> listChildFolders(const QByteArray &homePath, const QByteArray &path);

} // namespace dowsel
