#pragma once

#include <QString>

#include <cstdint>

namespace dowsel {

// What names one file on Linux. An inode number alone does not: ext4 hands a freed number to
// the next new file at once. The guard, read when the file is first seen, tells two files
// with the same number apart: the birth time in nanoseconds where the file system reports
// one, else a digest of the kernel's file handle (which carries the inode generation on
// ext4, XFS and btrfs). It is 0 where the file system gives neither; the inode then decides
// alone, as it must.
struct FileIdentity {
    std::uint64_t inode = 0;
    std::int64_t guard = 0;

    bool isValid() const { return inode != 0; }
    bool operator==(const FileIdentity &) const = default;
    // "1234/5678", for trace lines.
    QString description() const { return QString::number(inode) + QLatin1Char('/') + QString::number(guard); }
};

} // namespace dowsel
