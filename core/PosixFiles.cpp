#include "core/PosixFiles.h"

#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

namespace dowsel {

namespace {

std::int64_t nanoseconds(const struct statx_timestamp &time)
{
    return std::int64_t(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

// FNV-1a over the kernel's file handle: the inode and its generation on ext4, XFS and btrfs.
std::int64_t fileHandleDigest(int directory, const char *path, int flags)
{
    struct {
        struct file_handle header;
        unsigned char bytes[MAX_HANDLE_SZ];
    } handle{};
    handle.header.handle_bytes = MAX_HANDLE_SZ;
    int mountId = 0;
    if (::name_to_handle_at(directory, path, &handle.header, &mountId, flags) != 0)
        return 0;
    std::uint64_t hash = 0xcbf29ce484222325ull;
    const auto mix = [&hash](unsigned char byte) {
        hash ^= byte;
        hash *= 0x100000001b3ull;
    };
    for (int shift = 0; shift < 32; shift += 8)
        mix(static_cast<unsigned char>(handle.header.handle_type >> shift));
    for (unsigned i = 0; i < handle.header.handle_bytes && i < MAX_HANDLE_SZ; ++i)
        mix(handle.header.f_handle[i]);
    // 0 stands for "no guard"; a digest never takes that value.
    return hash == 0 ? 1 : std::int64_t(hash);
}

std::optional<FileStatus> statxAt(int directory, const char *path, int flags)
{
    struct statx info {};
    if (::statx(directory, path, flags, STATX_BASIC_STATS | STATX_BTIME, &info) != 0)
        return std::nullopt;
    FileStatus status;
    status.inode = info.stx_ino;
    status.size = std::int64_t(info.stx_size);
    status.isDirectory = S_ISDIR(info.stx_mode);
    status.isRegularFile = S_ISREG(info.stx_mode);
    status.modifiedNs = nanoseconds(info.stx_mtime);
    status.changedNs = nanoseconds(info.stx_ctime);
    if ((info.stx_mask & STATX_BTIME) && nanoseconds(info.stx_btime) != 0)
        status.guard = nanoseconds(info.stx_btime);
    else
        status.guard = fileHandleDigest(directory, path, flags & AT_EMPTY_PATH);
    return status;
}

} // namespace

std::optional<FileStatus> statPath(const QByteArray &path)
{
    if (path.isEmpty())
        return std::nullopt;
    return statxAt(AT_FDCWD, path.constData(), AT_SYMLINK_NOFOLLOW);
}

std::optional<FileStatus> statDescriptor(int fd)
{
    return statxAt(fd, "", AT_EMPTY_PATH);
}

std::optional<FileIdentity> identityAt(const QByteArray &path)
{
    if (const auto status = statPath(path))
        return status->identity();
    return std::nullopt;
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
