#include "move/FolderCrawler.h"

#include <QString>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dowsel {

namespace {

constexpr std::array<std::string_view, 19> skippedFolderNames = {
    "node_modules", "DerivedData", "Pods",    "Carthage", "dist",   "build",       ".build",
    ".venv",        ".git",        ".next",   ".nuxt",    ".cache", ".npm",        ".yarn",
    ".gradle",      ".idea",       ".vscode", "__pycache__",
    // Python packages; an environment elsewhere than in a virtual environment (the user's or
    // a tool's own) has no pyvenv.cfg above it.
    "site-packages",
};

constexpr std::array<std::string_view, 18> skippedPackageExtensions = {
    "app",       "photoslibrary", "rtfd",     "bundle", "framework", "kext", "xcodeproj", "xcworkspace", "playground",
    "component", "prefpane",      "appex",    "plugin", "pkg",       "mpkg", "dmg",       "docset",      "tmbundle",
};

constexpr std::string_view cacheTagSignature = "Signature: 8a477f597d28d172789f06886806bc55";

template <std::size_t N>
bool contains(const std::array<std::string_view, N> &set, QByteArrayView value)
{
    const std::string_view text(value.data(), std::size_t(value.size()));
    return std::find(set.begin(), set.end(), text) != set.end();
}

bool isPackageExtension(QByteArrayView extension)
{
    const bool ascii = std::all_of(extension.begin(), extension.end(),
                                   [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (ascii) {
        QByteArray lower = extension.toByteArray();
        for (char &c : lower)
            c = (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c;
        return contains(skippedPackageExtensions, lower);
    }
    // A few non-ASCII letters lower-case to ASCII (the Kelvin sign becomes "k").
    return contains(skippedPackageExtensions, QString::fromUtf8(extension).toLower().toUtf8());
}

// A CACHEDIR.TAG counts when it begins with the convention's signature; one still being
// written (shorter, and the start of the signature) counts too.
bool isCacheTag(int dirFd)
{
    const int fd = ::openat(dirFd, "CACHEDIR.TAG", O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0)
        return false;
    char head[cacheTagSignature.size()];
    const ssize_t length = ::read(fd, head, sizeof head);
    ::close(fd);
    return length >= 0 && std::string_view(head, std::size_t(length)) == cacheTagSignature.substr(0, std::size_t(length));
}

bool isFolderEntry(int dirFd, const char *name, unsigned char type)
{
    if (type != DT_UNKNOWN)
        return type == DT_DIR;
    // Some file systems do not fill in the type.
    struct stat status;
    return ::fstatat(dirFd, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

// The names skipped only directly inside home: ~/Library, and snapd's ~/snap (told from a
// folder of that name by the "current" link in the folders of its snaps).
bool isSkippedAtTop(int homeFd, QByteArrayView name)
{
    if (name == "Library")
        return true;
    if (name != "snap")
        return false;
    const int fd = ::openat(homeFd, "snap", O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return false;
    bool isSnapd = false;
    if (DIR *dir = ::fdopendir(fd)) {
        while (const dirent *entry = ::readdir(dir)) {
            if (entry->d_name[0] == '.')
                continue;
            const std::string current = std::string(entry->d_name) + "/current";
            struct stat status;
            if (::fstatat(fd, current.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode)) {
                isSnapd = true;
                break;
            }
        }
        ::closedir(dir);
    } else {
        ::close(fd);
    }
    return isSnapd;
}

struct Child {
    std::size_t nameOffset;
    std::uint64_t inode;
};

// Reads directories with getdents64, opening each folder relative to its parent: no path is
// resolved twice and no entry is stat'ed when its type is known. A folder's entries are all
// read before any of its children is entered, so that marker files decide first.
class Crawler {
public:
    Crawler(std::vector<FolderEntry> &found, const CrawlHooks *hooks, dev_t device)
        : m_found(found), m_hooks(hooks), m_device(device)
    {
    }

    // Walks the contents of the open folder `dirFd` (at `path`, `depth` levels below home).
    void walk(int dirFd, QByteArray &path, std::size_t depth)
    {
        Listing &listing = listingAt(depth);
        if (!read(dirFd, listing) || (depth > 0 && isPruned(dirFd, path, listing)))
            return;
        for (const Child &child : listing.children) {
            const char *name = listing.names.data() + child.nameOffset;
            const QByteArrayView nameView(name);
            if (isSkippedFolderName(nameView) || (depth == 0 && isSkippedAtTop(dirFd, nameView)))
                continue;
            const qsizetype parentLength = path.size();
            path.append('/').append(nameView);
            enter(dirFd, name, child.inode, path, depth + 1);
            path.truncate(parentLength);
        }
    }

    // Adds the folder `name` of the open folder `parentFd` and walks it.
    void enter(int parentFd, const char *name, std::uint64_t inode, QByteArray &path, std::size_t depth)
    {
        const int fd = ::openat(parentFd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0) {
            // Gone or replaced by a link since it was listed: not a folder any more. Otherwise
            // (no permission, too many open folders) it is listed without its contents.
            if (errno != ELOOP && errno != ENOTDIR && errno != ENOENT)
                m_found.push_back({path, inode, false});
            return;
        }
        struct stat status;
        if (::fstat(fd, &status) == 0) {
            if (status.st_dev != m_device) {
                m_found.push_back({path, inode, false});
            } else {
                if (m_hooks && m_hooks->beforeListing)
                    m_hooks->beforeListing(path);
                m_found.push_back({path, inode, true});
                walk(fd, path, depth);
            }
        }
        ::close(fd);
    }

private:
    struct Listing {
        std::string names;
        std::vector<Child> children;
        bool hasMarker = false;
        bool hasCacheFolder = false;
    };

    static constexpr std::size_t bufferSize = 32 * 1024;

    Listing &listingAt(std::size_t depth)
    {
        while (m_listings.size() <= depth)
            m_listings.push_back(std::make_unique<Listing>());
        return *m_listings[depth];
    }

    bool read(int dirFd, Listing &listing)
    {
        listing.names.clear();
        listing.children.clear();
        listing.hasMarker = false;
        listing.hasCacheFolder = false;
        if (!m_buffer)
            m_buffer = std::make_unique<char[]>(bufferSize);
        for (;;) {
            const ssize_t length = ::getdents64(dirFd, m_buffer.get(), bufferSize);
            if (length < 0)
                return !listing.children.empty();
            if (length == 0)
                return true;
            for (ssize_t offset = 0; offset < length;) {
                const auto *entry = reinterpret_cast<const dirent64 *>(m_buffer.get() + offset);
                offset += entry->d_reclen;
                const QByteArrayView name(entry->d_name);
                if (name == "." || name == "..")
                    continue;
                if (!isFolderEntry(dirFd, entry->d_name, entry->d_type)) {
                    listing.hasMarker = listing.hasMarker || isPruneMarkerName(name);
                    continue;
                }
                listing.hasCacheFolder = listing.hasCacheFolder || name == "cache";
                listing.children.push_back({listing.names.size(), std::uint64_t(entry->d_ino)});
                listing.names.append(entry->d_name, std::size_t(name.size()) + 1);
            }
        }
    }

    // A folder found to be a cache, an environment or Go's module cache goes again.
    bool isPruned(int dirFd, const QByteArray &path, const Listing &listing)
    {
        bool pruned = false;
        if (listing.hasMarker)
            pruned = ::faccessat(dirFd, "pyvenv.cfg", F_OK, AT_SYMLINK_NOFOLLOW) == 0 || isCacheTag(dirFd);
        if (!pruned && listing.hasCacheFolder && path.endsWith("/mod"))
            pruned = ::faccessat(dirFd, "cache/download", F_OK, 0) == 0;
        if (!pruned)
            return false;
        // The folder is the last one added: its children come only after this check.
        std::uint64_t inode = 0;
        if (!m_found.empty() && m_found.back().path == path) {
            inode = m_found.back().inode;
            m_found.pop_back();
        }
        if (m_hooks && m_hooks->pruned)
            m_hooks->pruned(path, inode);
        return true;
    }

    std::vector<FolderEntry> &m_found;
    const CrawlHooks *m_hooks;
    const dev_t m_device;
    std::unique_ptr<char[]> m_buffer;
    std::vector<std::unique_ptr<Listing>> m_listings;
};

std::size_t depthOf(const QByteArray &homePath, const QByteArray &path)
{
    if (path.size() <= homePath.size())
        return 0;
    return std::size_t(QByteArrayView(path).sliced(homePath.size()).count('/'));
}

} // namespace

bool isSkippedFolderName(QByteArrayView name)
{
    if (name.startsWith('.'))
        return true;
    if (contains(skippedFolderNames, name))
        return true;
    const qsizetype dot = name.lastIndexOf('.');
    return dot >= 0 && isPackageExtension(name.sliced(dot + 1));
}

bool isPruneMarkerName(QByteArrayView name)
{
    return name == "CACHEDIR.TAG" || name == "pyvenv.cfg";
}

std::vector<FolderEntry> crawlFolders(const QByteArray &homePath, const CrawlHooks *hooks)
{
    std::vector<FolderEntry> found;
    const int fd = ::open(homePath.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return found;
    struct stat status;
    if (::fstat(fd, &status) == 0) {
        QByteArray path = homePath;
        if (hooks && hooks->beforeListing)
            hooks->beforeListing(homePath);
        Crawler(found, hooks, status.st_dev).walk(fd, path, 0);
    }
    ::close(fd);
    return found;
}

void crawlFolder(const QByteArray &homePath, const QByteArray &parentPath, QByteArrayView name,
                 std::vector<FolderEntry> &found, const CrawlHooks *hooks)
{
    const std::size_t depth = depthOf(homePath, parentPath);
    const int homeFd = ::open(homePath.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (homeFd < 0)
        return;
    const int parentFd = parentPath == homePath
                             ? ::dup(homeFd)
                             : ::open(parentPath.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat home;
    struct stat entry;
    const QByteArray nameBytes = name.toByteArray();
    if (parentFd >= 0 && ::fstat(homeFd, &home) == 0
        && ::fstatat(parentFd, nameBytes.constData(), &entry, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(entry.st_mode)
        && !isSkippedFolderName(name) && !(depth == 0 && isSkippedAtTop(homeFd, name))) {
        QByteArray path = parentPath + '/' + nameBytes;
        Crawler(found, hooks, home.st_dev).enter(parentFd, nameBytes.constData(), entry.st_ino, path, depth + 1);
    }
    if (parentFd >= 0)
        ::close(parentFd);
    ::close(homeFd);
}

std::optional<std::vector<ChildFolder>> listChildFolders(const QByteArray &homePath, const QByteArray &path)
{
    const int fd = ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return std::nullopt;
    DIR *dir = ::fdopendir(fd);
    if (!dir) {
        ::close(fd);
        return std::nullopt;
    }
    const bool atTop = path == homePath;
    std::vector<ChildFolder> children;
    while (const dirent *entry = ::readdir(dir)) {
        const QByteArrayView name(entry->d_name);
        if (name == "." || name == ".." || isSkippedFolderName(name) || !isFolderEntry(fd, entry->d_name, entry->d_type))
            continue;
        if (atTop && isSkippedAtTop(fd, name))
            continue;
        children.push_back({name.toByteArray(), std::uint64_t(entry->d_ino)});
    }
    ::closedir(dir);
    return children;
}

} // namespace dowsel
