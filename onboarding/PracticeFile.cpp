#include "onboarding/PracticeFile.h"

#include "core/Logging.h"
#include "core/PosixFiles.h"

#include <QCoreApplication>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dowsel {

namespace {

QString errorText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

// Reads at most `limit` + 1 bytes of a regular file, so a large file never counts as ours.
std::optional<QByteArray> readSmallFile(const QByteArray &path, qsizetype limit, std::uint64_t *inode = nullptr)
{
    const FileDescriptor file(::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    const int fd = file.get();
    if (fd < 0)
        return std::nullopt;
    struct stat st { };
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_size > limit)
        return std::nullopt;
    if (inode)
        *inode = st.st_ino;
    QByteArray bytes(limit + 1, Qt::Uninitialized);
    qsizetype total = 0;
    while (total < bytes.size()) {
        const ssize_t n = ::read(fd, bytes.data() + total, size_t(bytes.size() - total));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return std::nullopt;
        if (n == 0)
            break;
        total += n;
    }
    bytes.truncate(total);
    return bytes;
}

bool holdsExactly(const QByteArray &path, const QByteArray &contents)
{
    return readSmallFile(path, contents.size()) == contents;
}

bool isFree(const QByteArray &path)
{
    struct stat st { };
    return ::lstat(path.constData(), &st) != 0 && errno == ENOENT;
}

// Moves `from` to `to` unless something appeared at `to` meanwhile. File systems without
// RENAME_NOREPLACE get the same guarantee from link(), which never replaces either.
bool renameWithoutReplacing(const QByteArray &from, const QByteArray &to)
{
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    if (::link(from.constData(), to.constData()) != 0)
        return false;
    ::unlink(from.constData());
    return true;
}

} // namespace

QString practiceFileName()
{
    //: Practice file name; keep the .md extension
    return QCoreApplication::translate("PracticeFile", "Dowsel README.md");
}

QString practiceFileContents()
{
    //: Contents of the onboarding practice README file
    return QCoreApplication::translate("PracticeFile",
        "# Welcome to Dowsel 🧹\n"
        "\n"
        "Dowsel watches your Downloads folder and helps you keep it tidy. Whenever a new file shows up, a little "
        "toast appears so you can decide what to do with it — right from the keyboard.\n"
        "\n"
        "This file is just a demo so you can practice. While its toast is showing, try:\n"
        "\n"
        "- **Super+Shift+T** — Keep it. Dowsel auto-deletes it later (you choose when, in Settings).\n"
        "- **Super+Shift+Alt+T** — Keep it for a custom amount of time.\n"
        "- **Super+Shift+M** — Move it somewhere, with fuzzy search.\n"
        "- **Super+Shift+.** — More: open, copy, share, or delete.\n"
        "- **Super+Shift+Backspace** — Send it to the Trash now.\n"
        "- **Esc** — Dismiss. The file just stays in Downloads.\n"
        "\n"
        "Tip: hover the toast to pause the countdown.\n"
        "\n"
        "You don't have to keep this file — it's only here for the demonstration.\n"
        "\n"
        "— Dowsel\n");
}

QByteArray practiceFilePath(const QByteArray &folder, const QByteArray &name, const QByteArray &contents)
{
    const QByteArray plain = folder + '/' + name;
    if (isFree(plain) || holdsExactly(plain, contents))
        return plain;
    const qsizetype dot = name.lastIndexOf('.');
    const QByteArray stem = dot > 0 ? name.left(dot) : name;
    const QByteArray extension = dot > 0 ? name.mid(dot) : QByteArray();
    for (int number = 2;; ++number) {
        const QByteArray candidate = folder + '/' + stem + ' ' + QByteArray::number(number) + extension;
        if (isFree(candidate) || holdsExactly(candidate, contents))
            return candidate;
    }
}

std::optional<std::uint64_t> createPracticeFile(const QByteArray &path, const QByteArray &contents)
{
    const auto fail = [](int error) {
        printFailure(QStringLiteral("createPracticeFile failed: ") + errorText(error));
        return std::nullopt;
    };
    const qsizetype slash = path.lastIndexOf('/');
    // Hidden, so the folder watcher passes over it until it gets its real name.
    QByteArray temporary = path.left(slash + 1) + ".dowsel-practice-XXXXXX";
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        return fail(errno);
    ::fchmod(fd, 0644);
    const bool written = writeAll(fd, contents) && ::fsync(fd) == 0;
    const int writeError = errno;
    ::close(fd);
    if (!written) {
        ::unlink(temporary.constData());
        return fail(writeError);
    }
    const bool placed = holdsExactly(path, contents) ? ::rename(temporary.constData(), path.constData()) == 0
                                                     : renameWithoutReplacing(temporary, path);
    if (!placed) {
        const int renameError = errno;
        ::unlink(temporary.constData());
        return fail(renameError);
    }
    struct stat st { };
    if (::lstat(path.constData(), &st) != 0)
        return fail(errno);
    return std::uint64_t(st.st_ino);
}

bool removePracticeFile(const QByteArray &path, std::uint64_t inode, const QByteArray &contents)
{
    std::uint64_t found = 0;
    if (readSmallFile(path, contents.size(), &found) != contents || found != inode)
        return false;
    return ::unlink(path.constData()) == 0;
}

} // namespace dowsel
