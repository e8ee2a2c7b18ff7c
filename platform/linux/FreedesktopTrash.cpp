#include "platform/linux/FreedesktopTrash.h"

#include "core/Logging.h"
#include "core/PosixFiles.h"
#include "core/Tags.h"
#include "core/TrackedFile.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dowsel {

namespace {

constexpr QByteArrayView infoSuffix = ".trashinfo";
// The info file's name must fit too: "<name>.trashinfo".
constexpr qsizetype maxTrashNameLength = NAME_MAX - infoSuffix.size();
constexpr int maxNameAttempts = 10000;

QString describe(const QByteArray &path, int error = errno)
{
    return displayText(path) + QStringLiteral(": ") + errnoText(error);
}

// A folder of ours: created 0700 when missing, and it must really be a folder (not a link to
// one) owned by the user.
std::optional<QString> ensurePrivateDirectory(const QByteArray &path)
{
    if (::mkdir(path.constData(), 0700) != 0 && errno != EEXIST)
        return describe(path);
    struct stat status {};
    if (::lstat(path.constData(), &status) != 0)
        return describe(path);
    if (!S_ISDIR(status.st_mode) || status.st_uid != ::getuid())
        return displayText(path) + QStringLiteral(": not a folder of this user");
    return std::nullopt;
}

std::optional<QString> ensureTrashDirectory(const QByteArray &directory)
{
    for (const QByteArray &path : {directory, directory + "/files", directory + "/info"}) {
        if (auto error = ensurePrivateDirectory(path))
            return error;
    }
    return std::nullopt;
}

// Cuts at a character boundary so a long UTF-8 name stays valid.
QByteArray truncated(const QByteArray &bytes, qsizetype length)
{
    if (bytes.size() <= length)
        return bytes;
    while (length > 0 && (uchar(bytes.at(length)) & 0xC0) == 0x80)
        --length;
    return bytes.left(length);
}

// "report.pdf", then "report.2.pdf", "report.3.pdf"...
QByteArray candidateName(const QByteArray &name, int attempt)
{
    const qsizetype dot = name.lastIndexOf('.');
    const bool hasExtension = dot > 0 && name.size() - dot <= 16;
    const QByteArray stem = hasExtension ? name.left(dot) : name;
    const QByteArray extension = hasExtension ? name.mid(dot) : QByteArray();
    const QByteArray counter = attempt == 1 ? QByteArray() : '.' + QByteArray::number(attempt);
    return truncated(stem, maxTrashNameLength - counter.size() - extension.size()) + counter + extension;
}

QByteArray deletionDate()
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    char text[32];
    const size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local);
    return QByteArray(text, qsizetype(length));
}

QByteArray infoContent(const QByteArray &pathValue)
{
    // Percent-encoded, '/' kept: a newline or a non-UTF-8 byte in a name cannot break the
    // line-based format.
    return "[Trash Info]\nPath=" + pathValue.toPercentEncoding("/") + "\nDeletionDate=" + deletionDate() + '\n';
}

// rename() that never replaces an existing entry.
int renameNoReplace(const QByteArray &from, const QByteArray &to)
{
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return -1;
    // A file system without RENAME_NOREPLACE. The exclusive info file reserves the name
    // against other trashing programs; the check covers a stray entry under files/.
    struct stat status {};
    if (::lstat(to.constData(), &status) == 0) {
        errno = EEXIST;
        return -1;
    }
    return ::rename(from.constData(), to.constData());
}

QByteArray currentDirectory()
{
    char buffer[PATH_MAX];
    return ::getcwd(buffer, sizeof buffer) ? QByteArray(buffer) : QByteArray("/");
}

QByteArray realDirectory(const QByteArray &path)
{
    char buffer[PATH_MAX];
    return ::realpath(path.constData(), buffer) ? QByteArray(buffer) : QByteArray();
}

// The highest folder above `directory` that is still on device `device`: the mount point.
QByteArray mountPoint(QByteArray directory, dev_t device)
{
    while (directory != "/") {
        const QByteArray parent = parentPath(directory);
        struct stat status {};
        if (parent.isEmpty() || ::stat(parent.constData(), &status) != 0 || status.st_dev != device)
            break;
        directory = parent;
    }
    return directory;
}

// The folder that relative Path= values of a volume's Trash start from: the parent of
// ".Trash-$uid", or of ".Trash" for "$topdir/.Trash/$uid". Empty for the home Trash.
QByteArray topdirOf(const QByteArray &directory)
{
    const QByteArray uid = QByteArray::number(::getuid());
    const QByteArray name = fileNameOf(directory);
    const QByteArray parent = parentPath(directory);
    if (name == ".Trash-" + uid)
        return parent.isEmpty() ? QByteArray("/") : parent;
    if (name == uid && fileNameOf(parent) == ".Trash") {
        const QByteArray top = parentPath(parent);
        return top.isEmpty() ? QByteArray("/") : top;
    }
    return {};
}

std::optional<QByteArray> readSmallFile(const QByteArray &path)
{
    const int fd = ::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return std::nullopt;
    QByteArray content;
    char buffer[4096];
    ssize_t count = 0;
    while (content.size() < 65536 && (count = ::read(fd, buffer, sizeof buffer)) > 0)
        content.append(buffer, count);
    ::close(fd);
    if (count < 0)
        return std::nullopt;
    return content;
}

} // namespace

FreedesktopTrash::FreedesktopTrash(QByteArray dataHome) : m_dataHome(std::move(dataHome)) {}

QByteArray FreedesktopTrash::defaultDataHome()
{
    // A relative $XDG_DATA_HOME is invalid and ignored.
    const QByteArray configured = qgetenv("XDG_DATA_HOME");
    if (configured.startsWith('/'))
        return configured;
    return qgetenv("HOME") + "/.local/share";
}

std::optional<FreedesktopTrash::Location> FreedesktopTrash::homeTrash(QString *error) const
{
    // The data folder and its parents may not exist yet on a fresh account.
    QByteArray partial;
    for (const QByteArray &component : m_dataHome.split('/')) {
        if (component.isEmpty())
            continue;
        partial += '/' + component;
        ::mkdir(partial.constData(), 0700);
    }
    const QByteArray directory = m_dataHome + "/Trash";
    if (auto failure = ensureTrashDirectory(directory)) {
        *error = *failure;
        return std::nullopt;
    }
    return Location{directory, {}};
}

std::optional<FreedesktopTrash::Location> FreedesktopTrash::topdirTrash(const QByteArray &topdir, QString *error)
{
    const QByteArray uid = QByteArray::number(::getuid());
    const QByteArray base = topdir == "/" ? QByteArray() : topdir;

    const QByteArray adminTrash = base + "/.Trash";
    struct stat status {};
    if (::lstat(adminTrash.constData(), &status) == 0) {
        if (S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX)) {
            const QByteArray directory = adminTrash + '/' + uid;
            if (!ensureTrashDirectory(directory))
                return Location{directory, topdir};
        } else {
            qCWarning(lcTrash).noquote() << displayText(adminTrash)
                                         << "is not used: it is not a real folder with the sticky bit set";
        }
    }

    const QByteArray directory = base + "/.Trash-" + uid;
    if (auto failure = ensureTrashDirectory(directory)) {
        *error = *failure;
        return std::nullopt;
    }
    return Location{directory, topdir};
}

std::optional<QString> FreedesktopTrash::moveToTrash(const QByteArray &path)
{
    return trashItem(path, nullptr);
}

std::optional<QString> FreedesktopTrash::trashItem(const QByteArray &path, TrashEntry *made)
{
    if (made)
        *made = {};
    if (path.isEmpty())
        return QStringLiteral("empty path");
    QByteArray absolute = path.startsWith('/') ? path : currentDirectory() + '/' + path;
    while (absolute.size() > 1 && absolute.endsWith('/'))
        absolute.chop(1);

    struct stat item {};
    if (::lstat(absolute.constData(), &item) != 0)
        return errnoText();

    QString error;
    const auto home = homeTrash(&error);
    if (!home)
        return QStringLiteral("cannot use the Trash (") + error + QLatin1Char(')');
    struct stat homeStatus {};
    if (::stat(home->directory.constData(), &homeStatus) == 0 && homeStatus.st_dev == item.st_dev)
        return moveInto(*home, absolute, made);

    // Another volume. Its entries are named relative to its mount point, so the folder is
    // resolved first (the item itself stays unresolved: a link is trashed as a link).
    const QByteArray folder = realDirectory(parentPath(absolute));
    if (folder.isEmpty())
        return errnoText();
    const QByteArray realPath = (folder == "/" ? QByteArray() : folder) + '/' + fileNameOf(absolute);
    const auto volumeTrash = topdirTrash(mountPoint(folder, item.st_dev), &error);
    if (!volumeTrash)
        return QStringLiteral("no usable Trash on this volume (") + error + QLatin1Char(')');
    return moveInto(*volumeTrash, realPath, made);
}

std::optional<QString> FreedesktopTrash::moveInto(const Location &trash, const QByteArray &absolutePath,
                                                  TrashEntry *made)
{
    const QByteArray name = fileNameOf(absolutePath);
    QByteArray pathValue = absolutePath;
    if (!trash.topdir.isEmpty()) {
        const QByteArray prefix = trash.topdir == "/" ? QByteArray("/") : trash.topdir + '/';
        if (absolutePath.startsWith(prefix))
            pathValue = absolutePath.mid(prefix.size());
    }
    const QByteArray content = infoContent(pathValue);

    for (int attempt = 1; attempt <= maxNameAttempts; ++attempt) {
        const QByteArray trashName = candidateName(name, attempt);
        const QByteArray infoPath = trash.directory + "/info/" + trashName + infoSuffix.toByteArray();
        const QByteArray filesPath = trash.directory + "/files/" + trashName;
        const int fd = ::open(infoPath.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (fd < 0) {
            if (errno == EEXIST)
                continue;
            return QStringLiteral("cannot write the Trash information: ") + describe(infoPath);
        }
        const bool written = writeAll(fd, content);
        const int writeError = errno;
        ::close(fd);
        if (!written) {
            ::unlink(infoPath.constData());
            return QStringLiteral("cannot write the Trash information: ") + describe(infoPath, writeError);
        }
        if (renameNoReplace(absolutePath, filesPath) == 0) {
            qCDebug(lcTrash).noquote() << "trashed" << displayText(absolutePath) << "as" << displayText(filesPath);
            if (made)
                *made = TrashEntry{trash.directory, trashName};
            return std::nullopt;
        }
        const int renameError = errno;
        ::unlink(infoPath.constData());
        if (renameError != EEXIST)
            return errnoText(renameError);
    }
    return QStringLiteral("the Trash already holds too many items named ") + displayText(name);
}

std::optional<QByteArray> FreedesktopTrash::originalPath(const TrashEntry &entry)
{
    if (!entry.isValid())
        return std::nullopt;
    struct stat item {};
    if (::lstat(entry.itemPath().constData(), &item) != 0)
        return std::nullopt;
    const auto content = readSmallFile(entry.infoPath());
    if (!content)
        return std::nullopt;
    bool inSection = false;
    for (const QByteArray &rawLine : content->split('\n')) {
        const QByteArray line = rawLine.trimmed();
        if (line.startsWith('['))
            inSection = line == "[Trash Info]";
        else if (inSection && line.startsWith("Path=")) {
            const QByteArray value = QByteArray::fromPercentEncoding(line.mid(5));
            if (value.isEmpty())
                return std::nullopt;
            if (value.startsWith('/'))
                return value;
            const QByteArray topdir = topdirOf(entry.directory);
            if (topdir.isEmpty())
                return std::nullopt; // a relative path means nothing in the home Trash
            return (topdir == "/" ? QByteArray() : topdir) + '/' + value;
        }
    }
    return std::nullopt;
}

std::optional<QString> FreedesktopTrash::restore(const TrashEntry &entry, const QByteArray &target, bool *clash)
{
    if (clash)
        *clash = false;
    if (!entry.isValid() || target.isEmpty())
        return QStringLiteral("nothing to put back");
    const QByteArray item = entry.itemPath();
    if (renameNoReplace(item, target) != 0) {
        const int error = errno;
        if (error == EEXIST && clash)
            *clash = true;
        if (error == ENOENT) {
            struct stat status {};
            if (::lstat(item.constData(), &status) != 0)
                return QStringLiteral("it is no longer in the Trash");
            return QStringLiteral("its folder %1 is gone").arg(displayText(parentPath(target)));
        }
        if (error == EXDEV)
            return QStringLiteral("%1 is on another drive than the Trash that holds it").arg(displayText(target));
        return describe(target, error);
    }
    if (::unlink(entry.infoPath().constData()) != 0 && errno != ENOENT) {
        qCWarning(lcTrash).noquote() << "put back" << displayText(target) << "but could not remove"
                                     << describe(entry.infoPath());
    }
    qCDebug(lcTrash).noquote() << "put back" << displayText(item) << "as" << displayText(target);
    return std::nullopt;
}

} // namespace dowsel
