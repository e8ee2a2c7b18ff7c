#include "core/PosixFiles.h"

#include <dirent.h>
#include <sys/stat.h>

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

} // namespace dowsel
