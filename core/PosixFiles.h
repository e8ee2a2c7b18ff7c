#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <vector>

namespace dowsel {

// What lstat says about a path (the link itself, never its target).
struct FileStatus {
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    bool isDirectory = false;
    bool isRegularFile = false;
};

std::optional<FileStatus> statPath(const QByteArray &path);

// Entry names of a folder in the order the file system lists them, without "." and "..".
// None when the folder cannot be listed.
std::optional<std::vector<QByteArray>> listDirectory(const QByteArray &path);

// "dir" + "/" + "name", as bytes.
QByteArray joinPath(const QByteArray &directory, const QByteArray &name);

} // namespace dowsel
