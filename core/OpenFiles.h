#pragma once

#include <QByteArray>
#include <QString>

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <unordered_map>

namespace dowsel {

enum class OpenAccess { writing, any };

// Which files the user's programs hold open for writing, read from /proc: every process
// whose descriptors this process may read (the user's own). A download still being written
// by curl, wget or a browser shows up here until its writer closes it. Scanned with
// OpenAccess::any, readers count too (a video being played, a document being read), and
// writerOf names any program that holds the file.
class OpenWriters {
public:
    // Takes one look at every process now.
    static OpenWriters scan(OpenAccess access = OpenAccess::writing);

    // The name of a program that has the file (device, inode) open for writing; none when no
    // visible process does.
    std::optional<QString> writerOf(dev_t device, ino_t inode) const;
    std::optional<QString> writerOf(const QByteArray &path) const;
    std::optional<QString> holderOf(const QByteArray &path) const { return writerOf(path); }

private:
    struct Key {
        dev_t device;
        ino_t inode;
        bool operator==(const Key &) const = default;
    };
    struct KeyHash {
        std::size_t operator()(const Key &key) const { return std::hash<std::uint64_t>()(key.inode ^ (key.device << 1)); }
    };
    std::unordered_map<Key, QString, KeyHash> m_writers;
};

} // namespace dowsel
