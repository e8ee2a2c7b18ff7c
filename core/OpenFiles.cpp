#include "core/OpenFiles.h"

#include "core/PosixFiles.h"

#include <QFile>

#include <algorithm>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dowsel {

namespace {

bool isNumber(const QByteArray &name)
{
    return !name.isEmpty() && std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// The "flags:" line of /proc/PID/fdinfo/FD, in octal.
std::optional<int> openFlags(const QByteArray &fdinfo)
{
    QFile file(QFile::decodeName(fdinfo));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray content = file.read(4096);
    for (const QByteArray &line : content.split('\n')) {
        if (line.startsWith("flags:")) {
            bool ok = false;
            const int flags = line.mid(6).trimmed().toInt(&ok, 8);
            return ok ? std::optional<int>(flags) : std::nullopt;
        }
    }
    return std::nullopt;
}

QString processName(const QByteArray &pid)
{
    QFile file(QStringLiteral("/proc/%1/comm").arg(QString::fromLatin1(pid)));
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("process %1").arg(QString::fromLatin1(pid));
    return QString::fromUtf8(file.readAll().trimmed());
}

} // namespace

OpenWriters OpenWriters::scan(OpenAccess access)
{
    OpenWriters writers;
    const QByteArray self = QByteArray::number(::getpid());
    const auto processes = listDirectory("/proc");
    if (!processes)
        return writers;
    for (const QByteArray &pid : *processes) {
        if (!isNumber(pid) || pid == self)
            continue;
        const QByteArray fdFolder = "/proc/" + pid + "/fd";
        const auto descriptors = listDirectory(fdFolder); // none for other users' processes
        if (!descriptors)
            continue;
        for (const QByteArray &fd : *descriptors) {
            struct stat target {};
            if (::stat((fdFolder + '/' + fd).constData(), &target) != 0 || !S_ISREG(target.st_mode))
                continue;
            if (access == OpenAccess::writing) {
                const auto flags = openFlags("/proc/" + pid + "/fdinfo/" + fd);
                if (!flags || (*flags & O_ACCMODE) == O_RDONLY)
                    continue;
            }
            writers.m_writers.emplace(Key{target.st_dev, target.st_ino}, processName(pid));
        }
    }
    return writers;
}

std::optional<QString> OpenWriters::writerOf(dev_t device, ino_t inode) const
{
    const auto found = m_writers.find(Key{device, inode});
    if (found == m_writers.end())
        return std::nullopt;
    return found->second;
}

std::optional<QString> OpenWriters::writerOf(const QByteArray &path) const
{
    struct stat status {};
    if (::lstat(path.constData(), &status) != 0)
        return std::nullopt;
    return writerOf(status.st_dev, status.st_ino);
}

} // namespace dowsel
