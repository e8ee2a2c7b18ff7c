#include "toast/FileMover.h"

#include "core/Logging.h"
#include "core/OpenFiles.h"
#include "core/PosixFiles.h"
#include "core/TrackedFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>

namespace dowsel {

namespace {

constexpr qsizetype nameMax = 255;
constexpr std::int64_t copyChunk = 1 << 20;

bool exists(const QByteArray &path)
{
    struct stat st;
    return ::lstat(path.constData(), &st) == 0;
}

// Cuts `bytes` to at most `limit` bytes without splitting a UTF-8 sequence.
QByteArray truncatedAtCharacter(const QByteArray &bytes, qsizetype limit)
{
    if (bytes.size() <= limit)
        return bytes;
    qsizetype end = limit;
    while (end > 0 && (static_cast<unsigned char>(bytes[end]) & 0xC0) == 0x80)
        --end;
    return bytes.left(end);
}

// Renames without ever replacing an existing item. Falls back to a checked rename on file
// systems that do not know RENAME_NOREPLACE.
int renameNoReplace(const QByteArray &from, const QByteArray &to)
{
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    if (exists(to))
        return EEXIST;
    return ::rename(from.constData(), to.constData()) == 0 ? 0 : errno;
}

// Renames `from` into `folder` under the first free name, trying the next number when
// another item takes a name first. Returns the target or sets `error`.
QByteArray renameToFreeName(const QByteArray &from, const QByteArray &folder, const QByteArray &name, int &error)
{
    for (int number = 1;; ++number) {
        const QByteArray candidate = joinPath(folder, number == 1 ? name : numberedName(name, number));
        if (exists(candidate))
            continue;
        error = renameNoReplace(from, candidate);
        if (error == 0)
            return candidate;
        if (error != EEXIST)
            return {};
    }
}

// Copies one tree into a place that does not exist yet. The caller removes the partial copy
// when this fails.
// Every file it copies must be finished and stay as it was: no program may hold it open for
// writing, and its size, times and identity must be the same after the copy as before.
class TreeCopier {
public:
    TreeCopier(const QByteArray &root, const CopyProgress &progress, const OpenWriters &writers)
        : m_root(root), m_progress(progress), m_writers(writers)
    {
    }

    // Set when a file changed while it was copied (the copy itself is complete).
    bool sourceChanged() const { return m_sourceChanged; }

    // Returns an empty text on success, else the reason.
    QString copy(const QByteArray &from, const QByteArray &to)
    {
        struct stat st;
        if (::lstat(from.constData(), &st) != 0)
            return errnoText(errno);
        if (S_ISREG(st.st_mode))
            return copyFile(from, to, st);
        if (S_ISDIR(st.st_mode))
            return copyDirectory(from, to, st);
        if (S_ISLNK(st.st_mode))
            return copyLink(from, to);
        return QStringLiteral("unsupported file type");
    }

private:
    QString copyFile(const QByteArray &from, const QByteArray &to, const struct stat &st)
    {
        if (const auto writer = m_writers.writerOf(st.st_dev, st.st_ino))
            return stillWrittenText(from, *writer);
        FileDescriptor in(::open(from.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
        if (!in.isValid())
            return errnoText(errno);
        const auto before = statDescriptor(in.get());
        FileDescriptor out(
            ::open(to.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, st.st_mode & 07777));
        if (!out.isValid())
            return errnoText(errno);
        std::unique_ptr<char[]> buffer(new char[copyChunk]);
        std::int64_t copied = 0;
        for (;;) {
            const ssize_t got = ::read(in.get(), buffer.get(), copyChunk);
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                return errnoText(errno);
            if (got == 0)
                break;
            for (ssize_t written = 0; written < got;) {
                const ssize_t put = ::write(out.get(), buffer.get() + written, size_t(got - written));
                if (put < 0 && errno == EINTR)
                    continue;
                if (put < 0)
                    return errnoText(errno);
                written += put;
            }
            copied += got;
            if (m_progress && !m_progress(m_root, copied, st.st_size))
                return QStringLiteral("cancelled");
        }
        const struct timespec times[2] = {st.st_atim, st.st_mtim};
        ::futimens(out.get(), times);
        if (::fsync(out.get()) != 0)
            return errnoText(errno);
        const auto after = statDescriptor(in.get());
        if (!before || !after || !sameContent(*before, *after) || copied != after->size)
            m_sourceChanged = true;
        return {};
    }

    static bool sameContent(const FileStatus &a, const FileStatus &b)
    {
        return a.identity() == b.identity() && a.size == b.size && a.modifiedNs == b.modifiedNs
            && a.changedNs == b.changedNs;
    }

    QString stillWrittenText(const QByteArray &path, const QString &writer) const
    {
        const QString what = path == m_root ? QStringLiteral("it is") : displayText(fileNameOf(path)) + " is";
        return QStringLiteral("%1 still being written (%2 has it open); the original stays where it is")
            .arg(what, writer);
    }

    QString copyDirectory(const QByteArray &from, const QByteArray &to, const struct stat &st)
    {
        if (::mkdir(to.constData(), (st.st_mode & 07777) | S_IRWXU) != 0)
            return errnoText(errno);
        DIR *dir = ::opendir(from.constData());
        if (!dir)
            return errnoText(errno);
        std::unique_ptr<DIR, int (*)(DIR *)> closer(dir, ::closedir);
        while (const dirent *entry = ::readdir(dir)) {
            const QByteArray name(entry->d_name);
            if (name == "." || name == "..")
                continue;
            const QString error = copy(joinPath(from, name), joinPath(to, name));
            if (!error.isEmpty())
                return error;
        }
        ::chmod(to.constData(), st.st_mode & 07777);
        const struct timespec times[2] = {st.st_atim, st.st_mtim};
        ::utimensat(AT_FDCWD, to.constData(), times, AT_SYMLINK_NOFOLLOW);
        syncDirectory(to);
        return {};
    }

    static QString copyLink(const QByteArray &from, const QByteArray &to)
    {
        QByteArray target(4096, Qt::Uninitialized);
        const ssize_t length = ::readlink(from.constData(), target.data(), size_t(target.size()));
        if (length < 0)
            return errnoText(errno);
        target.truncate(length);
        return ::symlink(target.constData(), to.constData()) == 0 ? QString() : errnoText(errno);
    }

    QByteArray m_root;
    const CopyProgress &m_progress;
    const OpenWriters &m_writers;
    bool m_sourceChanged = false;
};

// Removes a tree this process created (a partial copy) or a source whose complete copy is
// safely in place. Returns the first error, or an empty text.
QString removeTree(const QByteArray &path)
{
    struct stat st;
    if (::lstat(path.constData(), &st) != 0)
        return errno == ENOENT ? QString() : errnoText(errno);
    if (!S_ISDIR(st.st_mode))
        return ::unlink(path.constData()) == 0 ? QString() : errnoText(errno);
    if (DIR *dir = ::opendir(path.constData())) {
        std::unique_ptr<DIR, int (*)(DIR *)> closer(dir, ::closedir);
        while (const dirent *entry = ::readdir(dir)) {
            const QByteArray name(entry->d_name);
            if (name == "." || name == "..")
                continue;
            const QString error = removeTree(joinPath(path, name));
            if (!error.isEmpty())
                return error;
        }
    }
    return ::rmdir(path.constData()) == 0 ? QString() : errnoText(errno);
}

QByteArray temporaryNameFor(const QByteArray &folder)
{
    static std::atomic<unsigned> counter{0};
    return joinPath(folder, ".dowsel-move-" + QByteArray::number(::getpid()) + '-' + QByteArray::number(++counter)
                                + ".part");
}

QString moveFailureLine(const MoveResult &result)
{
    const QString target = result.target.isEmpty() ? QString() : QStringLiteral(" → ") + displayText(result.target);
    return (result.crossDevice ? QStringLiteral("Move failed (cross-volume) ") : QStringLiteral("Move failed "))
           + displayText(result.source) + target + QStringLiteral(": ") + result.error;
}

} // namespace

QByteArray numberedName(const QByteArray &name, int number)
{
    const qsizetype dot = name.lastIndexOf('.');
    const bool hasExtension = dot > 0 && dot < name.size() - 1;
    const QByteArray base = hasExtension ? name.left(dot) : name;
    const QByteArray suffix = " (" + QByteArray::number(number) + ')' + (hasExtension ? name.mid(dot) : QByteArray());
    return truncatedAtCharacter(base, nameMax - suffix.size()) + suffix;
}

QByteArray freeTargetPath(const QByteArray &folder, const QByteArray &name)
{
    QByteArray candidate = joinPath(folder, name);
    for (int number = 2; exists(candidate); ++number)
        candidate = joinPath(folder, numberedName(name, number));
    return candidate;
}

MoveResult moveWithinDevice(const QByteArray &source, const QByteArray &folder)
{
    MoveResult result;
    result.source = source;
    const QByteArray name = fileNameOf(source);
    struct stat sourceStat;
    struct stat folderStat;
    if (::lstat(source.constData(), &sourceStat) != 0 || ::stat(folder.constData(), &folderStat) != 0) {
        result.error = errnoText(errno);
        result.target = freeTargetPath(folder, name);
        return result;
    }
    int error = EXDEV;
    if (sourceStat.st_dev == folderStat.st_dev)
        result.target = renameToFreeName(source, folder, name, error);
    // EXDEV with the same st_dev happens across bind mounts.
    result.crossDevice = error == EXDEV;
    result.placed = error == 0;
    if (error != 0) {
        result.error = errnoText(error);
        result.target = freeTargetPath(folder, name);
    }
    return result;
}

MoveResult moveAcrossDevices(const QByteArray &source, const QByteArray &folder, const CopyProgress &progress)
{
    MoveResult result;
    result.source = source;
    result.crossDevice = true;
    const QByteArray name = fileNameOf(source);
    const auto before = statPath(source);
    if (!before) {
        result.error = errnoText(errno);
        result.target = freeTargetPath(folder, name);
        return result;
    }
    const QByteArray temporary = temporaryNameFor(folder);
    // The source is unlinked only once it is proven to be what was copied: finished (no
    // program writing it, before and after), and unchanged (identity, size and times).
    const OpenWriters writers = OpenWriters::scan();
    TreeCopier copier(source, progress, writers);
    result.error = copier.copy(source, temporary);
    bool keepSource = copier.sourceChanged();
    if (result.error.isEmpty() && !keepSource) {
        const auto after = statPath(source);
        keepSource = !after || after->identity() != before->identity() || after->size != before->size
            || after->modifiedNs != before->modifiedNs || after->changedNs != before->changedNs
            || (before->isRegularFile && OpenWriters::scan().writerOf(source));
    }
    if (!result.error.isEmpty()) {
        removeTree(temporary);
        result.target = freeTargetPath(folder, name);
        return result;
    }
    int error = 0;
    result.target = renameToFreeName(temporary, folder, name, error);
    if (error != 0) {
        removeTree(temporary);
        result.target = freeTargetPath(folder, name);
        result.error = errnoText(error);
        return result;
    }
    syncDirectory(folder);
    result.placed = true;
    if (keepSource) {
        // Both stay: the copy as it was read, the original as it is now.
        result.error = QStringLiteral("copied, but the original changed while it was copied and stays where it is");
        return result;
    }
    if (const QString removeError = removeTree(source); !removeError.isEmpty())
        result.error = QStringLiteral("copied, but the original could not be removed: ") + removeError;
    return result;
}

void FileMover::reportFailure(const MoveResult &result)
{
    printFailure(moveFailureLine(result));
    if (m_failure)
        m_failure(result);
}

void FileMover::move(const std::vector<QByteArray> &sources, const QByteArray &folder, Reveal reveal)
{
    std::vector<QByteArray> moved;
    std::vector<QByteArray> acrossDevices;
    for (const QByteArray &source : sources) {
        const MoveResult result = moveWithinDevice(source, folder);
        if (result.moved())
            moved.push_back(result.target);
        else if (result.crossDevice)
            acrossDevices.push_back(source);
        else
            reportFailure(result);
    }
    if (!moved.empty())
        reveal(moved);
    if (acrossDevices.empty())
        return;
    m_background.post([this, acrossDevices, folder, reveal, progress = m_progress, &main = m_main] {
        std::vector<QByteArray> copied;
        for (const QByteArray &source : acrossDevices) {
            const MoveResult result = moveAcrossDevices(source, folder, progress);
            if (result.placed)
                copied.push_back(result.target);
            if (!result.moved())
                main.post([this, result] { reportFailure(result); });
        }
        if (!copied.empty())
            main.post([reveal, copied] { reveal(copied); });
    });
}

} // namespace dowsel
