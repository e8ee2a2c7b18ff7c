#pragma once

#include "StoreTestSupport.h" // writeFile, inodeOf

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <ftw.h>
#include <functional>
#include <optional>
#include <sys/stat.h>
#include <thread>

namespace dowsel::testing {

inline void makeFolder(const QByteArray &path)
{
    ASSERT_EQ(::mkdir(path.constData(), 0755), 0) << path.constData();
}

inline void renameItem(const QByteArray &from, const QByteArray &to)
{
    ASSERT_EQ(::rename(from.constData(), to.constData()), 0) << from.constData();
}

// Polls `done` (running `step` before each check) until it holds or a generous deadline
// passes. Never used to measure time, only to wait for real file-system events.
inline bool waitUntil(const std::function<bool()> &done, const std::function<void()> &step = {},
                      std::chrono::seconds deadline = std::chrono::seconds(30))
{
    const auto giveUp = std::chrono::steady_clock::now() + deadline;
    for (;;) {
        if (step)
            step();
        if (done())
            return true;
        if (std::chrono::steady_clock::now() > giveUp)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

// Makes the kernel hand `inode` to a new file in `folder`: creates files ("reuse 1", "reuse
// 2"...) until one gets the number, removing the others. Returns its path, or nothing when
// the file system does not give the number again soon (the caller then skips).
inline std::optional<QByteArray> fileReusingInode(const QByteArray &folder, std::uint64_t inode, int tries = 500)
{
    for (int i = 1; i <= tries; ++i) {
        const QByteArray path = folder + "/reuse " + QByteArray::number(i);
        if (writeFile(path, "newcomer " + QByteArray::number(i)) == inode)
            return path;
        std::remove(path.constData());
    }
    return std::nullopt;
}

// A temporary folder standing in for Downloads, its path as bytes without a trailing slash.
class TemporaryDownloads {
public:
    TemporaryDownloads() : m_path(QFile::encodeName(QDir(m_dir.path()).absolutePath())) { }
    // Byte-exact clean-up: QTemporaryDir cannot name files whose names are not valid UTF-8.
    ~TemporaryDownloads()
    {
        const auto removeEntry = [](const char *path, const struct stat *, int, FTW *) {
            std::remove(path);
            return 0;
        };
        ::nftw(m_path.constData(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
    }
    TemporaryDownloads(const TemporaryDownloads &) = delete;
    TemporaryDownloads &operator=(const TemporaryDownloads &) = delete;
    const QByteArray &path() const { return m_path; }
    QByteArray operator/(const QByteArray &name) const { return m_path + '/' + name; }

private:
    QTemporaryDir m_dir;
    QByteArray m_path;
};

} // namespace dowsel::testing
