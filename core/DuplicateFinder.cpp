#include "core/DuplicateFinder.h"

#include "core/Logging.h"
#include "core/PosixFiles.h"

#include <openssl/evp.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <unordered_map>
#include <utility>
#include <vector>

namespace dowsel {

DuplicateFinder::DuplicateFinder(QByteArray folder, std::function<bool(const QByteArray &)> skipName,
                                 std::size_t cacheCapacity)
    : m_folder(std::move(folder)), m_skipName(std::move(skipName)), m_cacheCapacity(std::max<std::size_t>(cacheCapacity, 1))
{
}

std::optional<DuplicateFinder::Digest> DuplicateFinder::hashFile(const QByteArray &path, std::int64_t &bytesRead)
{
    const FileDescriptor file(::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!file.isValid())
        return std::nullopt;
    const auto before = statDescriptor(file.get());
    if (!before || !before->isRegularFile)
        return std::nullopt;
    ::posix_fadvise(file.get(), 0, 0, POSIX_FADV_SEQUENTIAL);

    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
        return std::nullopt;
    constexpr std::size_t blockSize = 1 << 20;
    std::vector<unsigned char> block(blockSize);
    for (;;) {
        const ssize_t count = ::read(file.get(), block.data(), blockSize);
        if (count < 0) {
            if (errno == EINTR)
                continue;
            return std::nullopt;
        }
        if (count == 0)
            break;
        bytesRead += count;
        EVP_DigestUpdate(context.get(), block.data(), std::size_t(count));
    }
    const auto after = statDescriptor(file.get());
    if (!after || after->size != before->size || after->modifiedNs != before->modifiedNs)
        return std::nullopt; // written to while it was read: the digest names no version of it
    Digest digest{};
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(context.get(), digest.data(), &length) != 1 || length != digest.size())
        return std::nullopt;
    return digest;
}

std::optional<DuplicateFinder::Digest> DuplicateFinder::digestOf(const QByteArray &path, const Key &key,
                                                                 Outcome &outcome)
{
    if (const auto cached = m_cache.find(key); cached != m_cache.end())
        return cached->second;
    const std::int64_t before = outcome.bytesRead;
    const auto digest = hashFile(path, outcome.bytesRead);
    if (outcome.bytesRead != before)
        ++outcome.filesRead;
    if (!digest)
        return std::nullopt;
    // Counts only when the file is still what was looked at: one replaced or changed since is
    // left out of this check, and hashed afresh by the next.
    const auto now = statPath(path);
    if (!now || now->identity() != key.identity || now->size != key.size || now->modifiedNs != key.modifiedNs)
        return std::nullopt;
    remember(key, *digest);
    return digest;
}

void DuplicateFinder::remember(const Key &key, const Digest &digest)
{
    if (m_cache.insert_or_assign(key, digest).second) {
        m_cacheOrder.push_back(key);
        while (m_cacheOrder.size() > m_cacheCapacity) {
            m_cache.erase(m_cacheOrder.front());
            m_cacheOrder.pop_front();
        }
    }
}

namespace {

constexpr std::int64_t sampleSize = 64 << 10;

// The first and the last `sampleSize` bytes of an open file; empty when it cannot be read.
QByteArray sampleOf(const QByteArray &path, std::int64_t size, std::int64_t &bytesRead)
{
    const FileDescriptor file(::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!file.isValid())
        return {};
    QByteArray sample(qsizetype(std::min(size, 2 * sampleSize)), Qt::Uninitialized);
    const std::int64_t head = std::min(size, sampleSize);
    const std::pair<std::int64_t, std::int64_t> parts[] = {{0, head}, {size - (sample.size() - head), sample.size() - head}};
    qsizetype at = 0;
    for (const auto &[offset, length] : parts) {
        for (std::int64_t done = 0; done < length;) {
            const ssize_t count = ::pread(file.get(), sample.data() + at, std::size_t(length - done), off_t(offset + done));
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                return {};
            done += count;
            at += count;
            bytesRead += count;
        }
    }
    return sample;
}

} // namespace

DuplicateFinder::Outcome DuplicateFinder::findOriginal(const QByteArray &path)
{
    return findOriginals({path}).front();
}

std::vector<DuplicateFinder::Outcome> DuplicateFinder::findOriginals(const std::vector<QByteArray> &paths)
{
    std::vector<Outcome> outcomes(paths.size());
    // One listing for the whole batch: the files of the folder by size.
    std::unordered_map<std::int64_t, std::vector<Entry>> bySize;
    if (const auto names = listDirectory(m_folder)) {
        for (const QByteArray &name : *names) {
            if (m_skipName && m_skipName(name))
                continue;
            QByteArray entryPath = joinPath(m_folder, name);
            const auto status = statPath(entryPath);
            if (status && status->isRegularFile && status->size > 0)
                bySize[status->size].push_back({name, std::move(entryPath), *status});
        }
    }
    for (std::size_t i = 0; i < paths.size(); ++i)
        outcomes[i] = check(paths[i], bySize);
    return outcomes;
}

DuplicateFinder::Outcome DuplicateFinder::check(const QByteArray &path,
                                                const std::unordered_map<std::int64_t, std::vector<Entry>> &bySize)
{
    Outcome outcome;
    const auto status = statPath(path);
    if (!status || !status->isRegularFile || status->size <= 0)
        return outcome;
    const auto sameSize = bySize.find(status->size);
    if (sameSize == bySize.end())
        return outcome;

    // Only files that were there before this one arrived: its status changed last when it was
    // renamed or written into the folder, and so did theirs, earlier. (An original must not be
    // called the copy of its copy when both are checked after both arrived.) The clock behind
    // these times ticks every few milliseconds: files of one tick are ordered by their names,
    // the shorter first ("report.pdf" before "report (1).pdf").
    const QByteArray name = path.mid(path.lastIndexOf('/') + 1);
    const auto arrivedBefore = [&](const Entry &other) {
        return std::tuple(other.status.changedNs, other.name.size(), other.name)
               < std::tuple(status->changedNs, name.size(), name);
    };
    std::vector<const Entry *> candidates;
    for (const Entry &entry : sameSize->second) {
        if (entry.path == path || entry.status.inode == status->inode) // itself, or another name of it
            continue;
        if (arrivedBefore(entry))
            candidates.push_back(&entry);
    }
    // Many files of one size (a burst of tiny ones) must not make each check read them all.
    constexpr std::size_t candidateCap = 256;
    if (candidates.size() > candidateCap)
        candidates.resize(candidateCap);
    outcome.candidates = int(candidates.size());
    if (candidates.empty())
        return outcome;

    // A candidate whose digest is not known yet is first compared by its ends: two different
    // files of the same size rarely share them, and then neither is read whole.
    const auto keyOf = [](const FileStatus &file) { return Key{file.identity(), file.size, file.modifiedNs}; };
    QByteArray newSample;
    std::erase_if(candidates, [&](const Entry *candidate) {
        if (m_cache.contains(keyOf(candidate->status)) || status->size <= 2 * sampleSize)
            return false;
        if (newSample.isEmpty())
            newSample = sampleOf(path, status->size, outcome.bytesRead);
        const QByteArray sample = sampleOf(candidate->path, candidate->status.size, outcome.bytesRead);
        return newSample.isEmpty() || sample != newSample;
    });
    if (candidates.empty())
        return outcome;

    const auto digest = digestOf(path, keyOf(*status), outcome);
    if (!digest)
        return outcome;
    const Entry *best = nullptr;
    for (const Entry *candidate : candidates) {
        const auto other = digestOf(candidate->path, keyOf(candidate->status), outcome);
        if (!other || *other != *digest)
            continue;
        const bool better = !best || candidate->status.modifiedNs < best->status.modifiedNs
                            || (candidate->status.modifiedNs == best->status.modifiedNs
                                && candidate->name.size() < best->name.size());
        if (better)
            best = candidate;
    }
    if (best)
        outcome.original = best->name;
    qCDebug(lcProcessor).noquote() << "DuplicateFinder: " + QString::fromUtf8(path) + " candidates="
                                          + QString::number(outcome.candidates) + " read="
                                          + QString::number(outcome.bytesRead) + " same as "
                                          + (best ? QString::fromUtf8(best->name) : QStringLiteral("nothing"));
    return outcome;
}

DuplicateCheck::DuplicateCheck(std::shared_ptr<DuplicateFinder> finder, Executor &worker, Executor &mainExecutor)
    : m_finder(std::move(finder)), m_worker(worker), m_main(mainExecutor)
{
}

void DuplicateCheck::check(const QByteArray &path, std::function<void(std::optional<QByteArray>)> done)
{
    {
        const std::lock_guard lock(m_pending->mutex);
        m_pending->requests.push_back({path, std::move(done)});
        if (std::exchange(m_pending->isQueued, true))
            return; // the queued pass takes this one too
    }
    // Files that arrive together are checked in one pass over one listing of the folder.
    m_worker.post([finder = m_finder, pending = m_pending, &main = m_main] {
        std::vector<Request> requests;
        {
            const std::lock_guard lock(pending->mutex);
            requests.swap(pending->requests);
            pending->isQueued = false;
        }
        std::vector<QByteArray> paths;
        paths.reserve(requests.size());
        for (const Request &request : requests)
            paths.push_back(request.path);
        const auto outcomes = finder->findOriginals(paths);
        for (std::size_t i = 0; i < requests.size(); ++i) {
            main.post([done = std::move(requests[i].done), original = outcomes[i].original] { done(original); });
        }
    });
}

} // namespace dowsel
