#include "move/FolderCrawler.h"

#include <QString>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dowsel {

namespace {

constexpr std::array<std::string_view, 18> skippedFolderNames = {
    "node_modules", "DerivedData", "Pods",  "Carthage", "dist",   "build", ".build",  ".venv",   ".git",
    ".next",        ".nuxt",       ".cache", ".npm",    ".yarn", ".gradle", ".idea", ".vscode", "__pycache__",
};

constexpr std::array<std::string_view, 18> skippedPackageExtensions = {
    "app",       "photoslibrary", "rtfd",     "bundle", "framework", "kext", "xcodeproj", "xcworkspace", "playground",
    "component", "prefpane",      "appex",    "plugin", "pkg",       "mpkg", "dmg",       "docset",      "tmbundle",
};

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

// Reads directories with getdents64 into one buffer per depth, opening each folder relative
// to its parent: no path is resolved twice and no entry is stat'ed when its type is known.
class Crawler {
public:
    explicit Crawler(std::vector<FolderEntry> &found) : m_found(found) {}

    void walk(int dirFd, QByteArray &path, dev_t device, std::size_t depth)
    {
        char *buffer = bufferAt(depth);
        for (;;) {
            const ssize_t length = ::getdents64(dirFd, buffer, bufferSize);
            if (length <= 0)
                return;
            for (ssize_t offset = 0; offset < length;) {
                const auto *entry = reinterpret_cast<const dirent64 *>(buffer + offset);
                offset += entry->d_reclen;
                const QByteArrayView name(entry->d_name);
                if (name == "." || name == ".." || !isFolder(dirFd, *entry))
                    continue;
                if (isSkippedFolderName(name) || (depth == 0 && name == "Library"))
                    continue;
                const qsizetype parentLength = path.size();
                path.append('/').append(name);
                enter(dirFd, *entry, path, device, depth + 1);
                path.truncate(parentLength);
            }
        }
    }

private:
    static constexpr std::size_t bufferSize = 32 * 1024;

    char *bufferAt(std::size_t depth)
    {
        while (m_buffers.size() <= depth)
            m_buffers.push_back(std::make_unique<char[]>(bufferSize));
        return m_buffers[depth].get();
    }

    static bool isFolder(int dirFd, const dirent64 &entry)
    {
        if (entry.d_type != DT_UNKNOWN)
            return entry.d_type == DT_DIR;
        // Some file systems do not fill in the type.
        struct stat status;
        return ::fstatat(dirFd, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
    }

    void enter(int parentFd, const dirent64 &entry, QByteArray &path, dev_t device, std::size_t depth)
    {
        const int fd = ::openat(parentFd, entry.d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0) {
            // Gone or replaced by a link since it was listed: not a folder any more. Otherwise
            // (no permission, too many open folders) it is listed without its contents.
            if (errno != ELOOP && errno != ENOTDIR && errno != ENOENT)
                m_found.push_back({path, entry.d_ino});
            return;
        }
        struct stat status;
        if (::fstat(fd, &status) == 0) {
            m_found.push_back({path, std::uint64_t(status.st_ino)});
            if (status.st_dev == device)
                walk(fd, path, device, depth);
        }
        ::close(fd);
    }

    std::vector<FolderEntry> &m_found;
    std::vector<std::unique_ptr<char[]>> m_buffers;
};

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

std::vector<FolderEntry> crawlFolders(const QByteArray &homePath)
{
    std::vector<FolderEntry> found;
    const int fd = ::open(homePath.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return found;
    struct stat status;
    if (::fstat(fd, &status) == 0) {
        QByteArray path = homePath;
        Crawler(found).walk(fd, path, status.st_dev, 0);
    }
    ::close(fd);
    return found;
}

} // namespace dowsel
