#pragma once

#include "core/FileIdentity.h"

#include <QByteArray>
#include <QString>

#include <cerrno>

#include <cstdint>
#include <optional>
#include <vector>

namespace dowsel {

// What lstat says about a path (the link itself, never its target), with the guard that
// makes the inode a name for this one file.
struct FileStatus {
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    bool isDirectory = false;
    bool isRegularFile = false;
    std::int64_t guard = 0;
    std::int64_t modifiedNs = 0; // st_mtime in nanoseconds
    std::int64_t changedNs = 0; // st_ctime in nanoseconds

    FileIdentity identity() const { return {inode, guard}; }
};

std::optional<FileStatus> statPath(const QByteArray &path);
// The same for an open file.
std::optional<FileStatus> statDescriptor(int fd);
// The identity of what is at `path` now; none when nothing is there.
std::optional<FileIdentity> identityAt(const QByteArray &path);

// Entry names of a folder in the order the file system lists them, without "." and "..".
// None when the folder cannot be listed.
std::optional<std::vector<QByteArray>> listDirectory(const QByteArray &path);

// "dir" + "/" + "name", as bytes.
QByteArray joinPath(const QByteArray &directory, const QByteArray &name);

// The system's words for an errno value, e.g. "Permission denied".
QString errnoText(int error = errno);

// Writes every byte, resuming after interruptions; false on any error.
bool writeAll(int fd, const QByteArray &bytes);

// Flushes a folder's entries (a new or renamed name in it) to disk.
void syncDirectory(const QByteArray &path);

// Owns a file descriptor and closes it.
class FileDescriptor {
public:
    explicit FileDescriptor(int fd) : m_fd(fd) {}
    ~FileDescriptor();
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    int get() const { return m_fd; }
    bool isValid() const { return m_fd >= 0; }

private:
    int m_fd;
};

} // namespace dowsel
