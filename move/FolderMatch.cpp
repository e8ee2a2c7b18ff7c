#include "move/FolderMatch.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace dowsel {

namespace {

using Scalars = std::u32string;
constexpr std::size_t npos = std::size_t(-1);

// The components of a path below home, folded, one after the other in one buffer.
class FoldedSegments {
public:
    void assign(const QByteArray &path, const QByteArray &prefix)
    {
        m_text.clear();
        m_ranges.clear();
        const QByteArrayView relative = path.startsWith(prefix) ? QByteArrayView(path).sliced(prefix.size())
                                                                : QByteArrayView(path);
        qsizetype start = 0;
        while (start <= relative.size()) {
            qsizetype end = relative.indexOf('/', start);
            if (end < 0)
                end = relative.size();
            if (end > start) {
                const std::size_t begin = m_text.size();
                appendFolded(relative.sliced(start, end - start), m_text);
                m_ranges.emplace_back(begin, m_text.size() - begin);
            }
            start = end + 1;
        }
    }

    std::size_t count() const { return m_ranges.size(); }
    std::u32string_view at(std::size_t index) const
    {
        return std::u32string_view(m_text).substr(m_ranges[index].first, m_ranges[index].second);
    }

private:
    Scalars m_text;
    std::vector<std::pair<std::size_t, std::size_t>> m_ranges;
};

struct Outcome {
    double score;
    qsizetype lastMatchedSegmentIndex;
    qsizetype lastSegmentWordCount;
};

// Consecutive tokens that matched in one segment.
struct Group {
    std::size_t segment;
    std::size_t firstToken;
    std::size_t tokenCount;
    int skipped;
};

// Greedy, leftmost-first subsequence match of one token in one segment; never backtracks.
double matchSegment(std::u32string_view segment, std::u32string_view token)
{
    std::size_t i = 0;
    std::ptrdiff_t last = -2;
    double s = 0;
    for (std::size_t j = 0; j < segment.size() && i < token.size(); ++j) {
        if (segment[j] != token[i])
            continue;
        s += std::ptrdiff_t(j) == last + 1 ? 1.5 : 1.0;
        if (i == 0)
            s += std::max(0.0, 2.5 - 0.5 * double(j));
        last = std::ptrdiff_t(j);
        ++i;
    }
    return s;
}

// Where a greedy match of `token` in `segment` from `from` ends, or npos.
std::size_t matchEnd(std::u32string_view segment, std::size_t from, std::u32string_view token)
{
    if (segment.size() < from + token.size())
        return npos;
    std::size_t i = 0;
    std::size_t j = from;
    for (; j < segment.size() && i < token.size(); ++j) {
        if (segment[j] == token[i])
            ++i;
    }
    return i == token.size() ? j : npos;
}

// Places every token in a segment, in path order. Without sharing each segment takes one
// token; with sharing a token first tries to continue in the segment of the token before it.
// Continuing first never loses a placement that moving on would find, so sharing finds a
// placement whenever one exists.
bool place(const FoldedSegments &segments, const std::vector<Scalars> &tokens, bool sharing,
           std::vector<Group> &groups)
{
    groups.clear();
    std::size_t position = 0;
    for (std::size_t t = 0; t < tokens.size(); ++t) {
        const Scalars &token = tokens[t];
        if (sharing && !groups.empty()) {
            const std::size_t end = matchEnd(segments.at(groups.back().segment), position, token);
            if (end != npos) {
                position = end;
                ++groups.back().tokenCount;
                continue;
            }
        }
        const std::size_t next = groups.empty() ? 0 : groups.back().segment + 1;
        int skipped = 0;
        bool found = false;
        for (std::size_t index = next; index < segments.count(); ++index) {
            const std::size_t end = matchEnd(segments.at(index), 0, token);
            if (end == npos) {
                ++skipped;
                continue;
            }
            groups.push_back({index, t, 1, skipped});
            position = end;
            found = true;
            break;
        }
        if (!found)
            return false;
    }
    return true;
}

// Whether `segment` is exactly the group's words with one blank between them.
bool isWholeName(std::u32string_view segment, const std::vector<Scalars> &tokens, const Group &group)
{
    std::size_t offset = 0;
    for (std::size_t t = group.firstToken; t < group.firstToken + group.tokenCount; ++t) {
        if (t > group.firstToken) {
            if (offset >= segment.size() || segment[offset] != U' ')
                return false;
            ++offset;
        }
        const Scalars &token = tokens[t];
        if (segment.substr(offset, token.size()) != token)
            return false;
        offset += token.size();
    }
    return offset == segment.size();
}

// A group scores as one token made of its words would score in its segment.
Outcome total(const FoldedSegments &segments, const std::vector<Scalars> &tokens, const std::vector<Group> &groups)
{
    double sum = 0;
    Scalars joined;
    for (const Group &group : groups) {
        const std::u32string_view segment = segments.at(group.segment);
        std::u32string_view token = tokens[group.firstToken];
        if (group.tokenCount > 1) {
            joined.clear();
            for (std::size_t t = group.firstToken; t < group.firstToken + group.tokenCount; ++t)
                joined += tokens[t];
            token = joined;
        }
        const double s = matchSegment(segment, token);
        if (isWholeName(segment, tokens, group))
            sum = sum + s + 3.0 - 0.4 * group.skipped;
        else
            sum = sum + s - 0.05 * double(segment.size() - token.size()) - 0.4 * group.skipped;
    }
    const std::size_t count = segments.count();
    double result = sum - 0.3 * double(count);
    const Group &last = groups.back();
    if (last.segment == count - 1)
        result += 2.0;
    return {result, qsizetype(last.segment), qsizetype(last.tokenCount)};
}

std::optional<Outcome> scoreSegments(const FoldedSegments &segments, const std::vector<Scalars> &tokens,
                                     std::vector<Group> &groups)
{
    if (segments.count() == 0 || tokens.empty())
        return std::nullopt;
    if (!place(segments, tokens, true, groups))
        return std::nullopt;
    const bool shared = std::any_of(groups.begin(), groups.end(), [](const Group &g) { return g.tokenCount > 1; });
    // A placement with one token per segment, when there is one, is the one that counts.
    if (shared && tokens.size() <= segments.count()) {
        std::vector<Group> separate;
        if (place(segments, tokens, false, separate))
            return total(segments, tokens, separate);
    }
    return total(segments, tokens, groups);
}

QList<QByteArray> segmentsBelow(const QByteArray &path, const QByteArray &prefix)
{
    const QByteArray relative = path.startsWith(prefix) ? path.sliced(prefix.size()) : path;
    QList<QByteArray> segments = relative.split('/');
    segments.removeIf([](const QByteArray &piece) { return piece.isEmpty(); });
    return segments;
}

// Scores are sums of multiples of 0.05; compared at a millionth so that two sums of the same
// terms in another order count as equal.
std::int64_t scoreKey(double score)
{
    return std::llround(score * 1e6);
}

struct Candidate {
    double score;
    const QByteArray *path;
    qsizetype lastMatchedSegmentIndex;
    qsizetype lastSegmentWordCount;
};

bool better(const Candidate &a, const Candidate &b)
{
    return isBetterMatch(a.score, *a.path, b.score, *b.path);
}

void scanChunks(const FolderPaths::Chunks &chunks, std::size_t begin, std::size_t end,
                const std::vector<Scalars> &tokens, std::uint64_t tokenMask, const QByteArray &prefix,
                std::vector<Candidate> &out)
{
    FoldedSegments folded;
    std::vector<Group> groups;
    for (std::size_t c = begin; c < end; ++c) {
        const FolderChunk &chunk = *chunks[c];
        for (std::size_t i = 0; i < chunk.paths.size(); ++i) {
            if ((chunk.masks[i] & tokenMask) != tokenMask)
                continue;
            folded.assign(chunk.paths[i], prefix);
            if (const auto outcome = scoreSegments(folded, tokens, groups))
                out.push_back({outcome->score, &chunk.paths[i], outcome->lastMatchedSegmentIndex,
                               outcome->lastSegmentWordCount});
        }
    }
}

// Below this many paths per thread, starting a thread costs more than it saves.
constexpr qsizetype pathsPerThread = 25'000;

std::vector<Candidate> scanAll(const FolderPaths &paths, const std::vector<Scalars> &tokens, std::uint64_t tokenMask,
                               const QByteArray &prefix)
{
    const FolderPaths::Chunks &chunks = paths.chunks();
    const qsizetype cores = std::clamp<qsizetype>(std::thread::hardware_concurrency(), 1, 8);
    const qsizetype parts = std::clamp<qsizetype>(paths.size() / pathsPerThread, 1, cores);
    // Chunk boundaries that split the paths into `parts` nearly equal shares.
    std::vector<std::size_t> bounds{0};
    qsizetype seen = 0;
    for (std::size_t c = 0; c < chunks.size() && qsizetype(bounds.size()) < parts; ++c) {
        seen += qsizetype(chunks[c]->paths.size());
        if (seen >= paths.size() * qsizetype(bounds.size()) / parts)
            bounds.push_back(c + 1);
    }
    bounds.push_back(chunks.size());
    const std::size_t shares = bounds.size() - 1;
    std::vector<std::vector<Candidate>> found(shares);
    {
        std::vector<std::jthread> helpers;
        for (std::size_t part = 1; part < shares; ++part) {
            helpers.emplace_back([&, part] {
                scanChunks(chunks, bounds[part], bounds[part + 1], tokens, tokenMask, prefix, found[part]);
            });
        }
        scanChunks(chunks, bounds[0], bounds[1], tokens, tokenMask, prefix, found[0]);
    }
    std::vector<Candidate> all = std::move(found[0]);
    for (std::size_t part = 1; part < found.size(); ++part)
        all.insert(all.end(), found[part].begin(), found[part].end());
    return all;
}

std::vector<Scalars> toScalars(const QStringList &tokens)
{
    std::vector<Scalars> result;
    result.reserve(std::size_t(tokens.size()));
    for (const QString &token : tokens) {
        Scalars scalars = folded(token);
        if (!scalars.empty())
            result.push_back(std::move(scalars));
    }
    return result;
}

} // namespace

QStringList queryWords(const QString &query)
{
    QStringList words;
    QString word;
    for (const QChar c : query) {
        if (c.isSpace() || c == u'/') {
            if (!word.isEmpty())
                words.append(std::exchange(word, QString()));
        } else {
            word.append(c);
        }
    }
    if (!word.isEmpty())
        words.append(word);
    return words;
}

bool isBetterMatch(double score, const QByteArray &path, double otherScore, const QByteArray &otherPath)
{
    const std::int64_t key = scoreKey(score);
    const std::int64_t otherKey = scoreKey(otherScore);
    if (key != otherKey)
        return key > otherKey;
    if (path.size() != otherPath.size())
        return path.size() < otherPath.size();
    return path < otherPath;
}

QList<FolderMatch> search(const QString &query, const FolderPaths &paths, const QByteArray &homePath,
                          qsizetype limit)
{
    const std::vector<Scalars> tokens = toScalars(queryWords(query));
    if (tokens.empty() || limit <= 0)
        return {};
    std::uint64_t tokenMask = 0;
    for (const Scalars &token : tokens) {
        for (const char32_t scalar : token)
            tokenMask |= FolderPaths::maskOf(scalar);
    }
    const QByteArray prefix = homePath + '/';

    std::vector<Candidate> candidates = scanAll(paths, tokens, tokenMask, prefix);
    const auto kept = std::min<std::size_t>(candidates.size(), std::size_t(limit));
    std::partial_sort(candidates.begin(), candidates.begin() + std::ptrdiff_t(kept), candidates.end(), better);

    QList<FolderMatch> matches;
    matches.reserve(qsizetype(kept));
    for (std::size_t rank = 0; rank < kept; ++rank) {
        const Candidate &candidate = candidates[rank];
        matches.append({*candidate.path, candidate.score, candidate.lastMatchedSegmentIndex,
                        segmentsBelow(*candidate.path, prefix), candidate.lastSegmentWordCount});
    }
    return matches;
}

std::optional<FolderMatch> score(const QByteArray &path, const QStringList &tokens, const QByteArray &prefix)
{
    FoldedSegments folded;
    folded.assign(path, prefix);
    std::vector<Group> groups;
    const auto outcome = scoreSegments(folded, toScalars(tokens), groups);
    if (!outcome)
        return std::nullopt;
    return FolderMatch{path, outcome->score, outcome->lastMatchedSegmentIndex, segmentsBelow(path, prefix),
                       outcome->lastSegmentWordCount};
}

QList<FolderMatch> rankDestinations(QList<FolderMatch> matches, const QList<QByteArray> &history)
{
    for (FolderMatch &match : matches) {
        const qsizetype k = history.indexOf(match.path);
        if (k >= 0)
            match.score += std::max(0.0, 4.0 - 0.3 * double(k));
    }
    std::stable_sort(matches.begin(), matches.end(), [](const FolderMatch &a, const FolderMatch &b) {
        return isBetterMatch(a.score, a.path, b.score, b.path);
    });
    return matches;
}

} // namespace dowsel
