#include "core/DuplicateFinder.h"

#include "core/Logging.h"
#include "core/PosixFiles.h"

#include <openssl/evp.h>

#include <fcntl.h>
#include <cerrno>
#include <unistd.h>

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
    // Kept only when the file is still what was looked at; a changed one is hashed afresh.
    if (const auto now = statPath(path); now && now->identity() == key.identity && now->size == key.size
                                         && now->modifiedNs == key.modifiedNs)
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
    Outcome outcome;
    const auto status = statPath(path);
    if (!status || !status->isRegularFile || status->size <= 0)
        return outcome;
    const auto names = listDirectory(m_folder);
    if (!names)
        return outcome;

    struct Candidate {
        QByteArray name;
        QByteArray path;
        FileStatus status;
    };
    std::vector<Candidate> candidates;
    for (const QByteArray &name : *names) {
        if (m_skipName && m_skipName(name))
            continue;
        QByteArray candidatePath = joinPath(m_folder, name);
        if (candidatePath == path)
            continue;
        const auto candidate = statPath(candidatePath);
        if (!candidate || !candidate->isRegularFile || candidate->size != status->size)
            continue;
        if (candidate->inode == status->inode)
            continue; // another name of the same file, not a second copy
        candidates.push_back({name, std::move(candidatePath), *candidate});
    }
    outcome.candidates = int(candidates.size());
    if (candidates.empty())
        return outcome;

    // A candidate whose digest is not known yet is first compared by its ends: two different
    // files of the same size rarely share them, and then neither is read whole.
    const auto keyOf = [](const FileStatus &file) { return Key{file.identity(), file.size, file.modifiedNs}; };
    QByteArray newSample;
    std::erase_if(candidates, [&](const Candidate &candidate) {
        if (m_cache.contains(keyOf(candidate.status)) || status->size <= 2 * sampleSize)
            return false;
        if (newSample.isEmpty())
            newSample = sampleOf(path, status->size, outcome.bytesRead);
        const QByteArray sample = sampleOf(candidate.path, candidate.status.size, outcome.bytesRead);
        return newSample.isEmpty() || sample != newSample;
    });
    if (candidates.empty())
        return outcome;

    const auto digest = digestOf(path, keyOf(*status), outcome);
    if (!digest)
        return outcome;
    std::optional<Candidate> best;
    for (Candidate &candidate : candidates) {
        const auto other = digestOf(candidate.path, keyOf(candidate.status), outcome);
        if (!other || *other != *digest)
            continue;
        const bool better = !best || candidate.status.modifiedNs < best->status.modifiedNs
                            || (candidate.status.modifiedNs == best->status.modifiedNs
                                && candidate.name.size() < best->name.size());
        if (better)
            best = std::move(candidate);
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
    m_worker.post([finder = m_finder, path, &main = m_main, done = std::move(done)]() mutable {
        auto original = finder->findOriginal(path).original;
        main.post([done = std::move(done), original = std::move(original)] { done(original); });
    });
}

} // namespace dowsel
