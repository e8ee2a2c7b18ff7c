#include "core/PosixFiles.h"

#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

namespace dowsel {

std::optional<FileStatus> statPath(const QByteArray &path)
{
    struct stat info { };
    if (path.isEmpty() || ::lstat(path.constData(), &info) != 0)
        return std::nullopt;
    return FileStatus{std::uint64_t(info.st_ino), std::int64_t(info.st_size), S_ISDIR(info.st_mode),
                      S_ISREG(info.st_mode)};
}

std::optional<std::vector<QByteArray>> listDirectory(const QByteArray &path)
{
    const std::unique_ptr<DIR, int (*)(DIR *)> dir(::opendir(path.constData()), &::closedir);
    if (!dir)
        return std::nullopt;
    std::vector<QByteArray> names;
    while (const dirent *entry = ::readdir(dir.get())) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..")
            names.push_back(name);
    }
    return names;
}

QByteArray joinPath(const QByteArray &directory, const QByteArray &name)
{
    if (directory.endsWith('/'))
        return directory + name;
    return directory + '/' + name;
}

QString errnoText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

bool writeAll(int fd, const QByteArray &bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        done += written;
    }
    return true;
}

void syncDirectory(const QByteArray &path)
{
    const FileDescriptor fd(::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.isValid())
        ::fsync(fd.get());
}

FileDescriptor::~FileDescriptor()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

} // namespace dowsel
