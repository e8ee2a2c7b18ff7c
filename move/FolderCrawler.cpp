#include "move/FolderCrawler.h"

#include <QString>

#include <algorithm>
#include <array>
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

class Crawler {
public:
    explicit Crawler(std::vector<FolderEntry> &found) : m_found(found) {}

    void walk(DIR *dir, QByteArray &path, dev_t device, bool atHome)
    {
        while (const dirent *entry = ::readdir(dir)) {
            const QByteArrayView name(entry->d_name);
            if (name == "." || name == ".." || !isFolder(dir, *entry))
                continue;
            if (isSkippedFolderName(name) || (atHome && name == "Library"))
                continue;
            const qsizetype parentLength = path.size();
            path.append('/').append(name);
            enter(dir, *entry, path, device);
            path.truncate(parentLength);
        }
    }

private:
    static bool isFolder(DIR *dir, const dirent &entry)
    {
        if (entry.d_type != DT_UNKNOWN)
            return entry.d_type == DT_DIR;
        // Some file systems do not fill in the type.
        struct stat status;
        return ::fstatat(::dirfd(dir), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
    }

    void enter(DIR *parent, const dirent &entry, QByteArray &path, dev_t device)
    {
        const int fd = ::openat(::dirfd(parent), entry.d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0) {
            // Gone or replaced by a link since it was listed: not a folder any more. Otherwise
            // (no permission, too many open folders) it is listed without its contents.
            if (errno != ELOOP && errno != ENOTDIR && errno != ENOENT)
                m_found.push_back({path, entry.d_ino});
            return;
        }
        struct stat status;
        if (::fstat(fd, &status) != 0) {
            ::close(fd);
            return;
        }
        m_found.push_back({path, std::uint64_t(status.st_ino)});
        if (status.st_dev != device) {
            ::close(fd);
            return;
        }
        DIR *dir = ::fdopendir(fd);
        if (!dir) {
            ::close(fd);
            return;
        }
        walk(dir, path, device, false);
        ::closedir(dir);
    }

    std::vector<FolderEntry> &m_found;
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
    struct stat status;
    if (fd < 0 || ::fstat(fd, &status) != 0) {
        if (fd >= 0)
            ::close(fd);
        return found;
    }
    DIR *dir = ::fdopendir(fd);
    if (!dir) {
        ::close(fd);
        return found;
    }
    QByteArray path = homePath;
    Crawler(found).walk(dir, path, status.st_dev, true);
    ::closedir(dir);
    return found;
}

} // namespace dowsel
