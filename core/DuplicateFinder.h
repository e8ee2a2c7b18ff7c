#pragma once

#include "core/FileIdentity.h"
#include "core/PosixFiles.h"
#include "platform/Executor.h"

#include <QByteArray>

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <tuple>
#include <unordered_map>
#include <vector>

namespace dowsel {

// Finds a file in a folder with the same content as a newly arrived one. Sizes are compared
// first: with no other file of the same size nothing is read at all. A candidate whose hash
// is not known yet is compared by its first and last 64 KiB; one that differs there is
// dropped unread. For the rest the new file is read once and hashed (SHA-256), and so is
// each candidate whose hash is not known; hashes are kept by identity, size and modification
// time, so a file is read again only after it changed. Empty files and folders are never duplicates. Not thread-safe: use it
// from one thread at a time (DuplicateCheck runs it on a worker).
class DuplicateFinder {
public:
    // `skipName` leaves out names that are no finished file (hidden, partial downloads).
    explicit DuplicateFinder(QByteArray folder, std::function<bool(const QByteArray &name)> skipName = {},
                             std::size_t cacheCapacity = 4096);

    struct Outcome {
        std::optional<QByteArray> original; // the name (in the folder) of an identical file
        std::int64_t bytesRead = 0;
        int filesRead = 0;
        int candidates = 0; // other files of the same size
    };
    // `path` is the new file. The original chosen among several identical files is the one
    // modified first (then the shortest name): "report.pdf" rather than "report (1).pdf".
    // Only files that arrived in the folder before `path` count (by their status change time).
    Outcome findOriginal(const QByteArray &path);
    // The same for several new files, over one listing of the folder.
    std::vector<Outcome> findOriginals(const std::vector<QByteArray> &paths);

    using Digest = std::array<unsigned char, 32>;
    // The file's SHA-256, read in large sequential blocks; none when it cannot be read or
    // changed while it was read. Adds the bytes read to `bytesRead`.
    static std::optional<Digest> hashFile(const QByteArray &path, std::int64_t &bytesRead);

private:
    struct Entry {
        QByteArray name;
        QByteArray path;
        FileStatus status;
    };
    Outcome check(const QByteArray &path, const std::unordered_map<std::int64_t, std::vector<Entry>> &bySize);

    struct Key {
        FileIdentity identity;
        std::int64_t size = 0;
        std::int64_t modifiedNs = 0;
        bool operator<(const Key &other) const
        {
            return std::tie(identity.inode, identity.guard, size, modifiedNs)
                   < std::tie(other.identity.inode, other.identity.guard, other.size, other.modifiedNs);
        }
    };
    std::optional<Digest> digestOf(const QByteArray &path, const Key &key, Outcome &outcome);
    void remember(const Key &key, const Digest &digest);

    QByteArray m_folder;
    std::function<bool(const QByteArray &)> m_skipName;
    std::size_t m_cacheCapacity;
    std::map<Key, Digest> m_cache;
    std::deque<Key> m_cacheOrder; // oldest first
};

// Runs a DuplicateFinder on a worker and answers on the main executor.
class DuplicateCheck {
public:
    DuplicateCheck(std::shared_ptr<DuplicateFinder> finder, Executor &worker, Executor &mainExecutor);

    // `done` gets the name of the file that `path` duplicates, or nothing; on the main executor.
    // Any thread. Requests made while a pass waits for the worker join that pass.
    void check(const QByteArray &path, std::function<void(std::optional<QByteArray> original)> done);

private:
    struct Request {
        QByteArray path;
        std::function<void(std::optional<QByteArray>)> done;
    };
    struct Pending {
        std::mutex mutex;
        std::vector<Request> requests;
        bool isQueued = false;
    };
    std::shared_ptr<Pending> m_pending = std::make_shared<Pending>();
    std::shared_ptr<DuplicateFinder> m_finder;
    Executor &m_worker;
    Executor &m_main;
};

} // namespace dowsel
