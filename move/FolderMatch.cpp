#include "move/FolderMatch.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace dowsel {

namespace {

using Scalars = std::u32string;

// The components of a path below home, lower-cased, one after the other in one buffer.
class LoweredSegments {
public:
    void assign(const QByteArray &path, const QByteArray &prefix, bool ascii)
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
            if (end > start)
                appendSegment(relative.sliced(start, end - start), ascii);
            start = end + 1;
        }
    }

    std::size_t count() const { return m_ranges.size(); }
    std::u32string_view at(std::size_t index) const
    {
        return std::u32string_view(m_text).substr(m_ranges[index].first, m_ranges[index].second);
    }

private:
    void appendSegment(QByteArrayView segment, bool ascii)
    {
        const std::size_t begin = m_text.size();
        if (ascii) {
            for (const char c : segment)
                m_text.push_back(char32_t((c >= 'A' && c <= 'Z') ? c - 'A' + 'a' : c));
        } else {
            for (const char32_t scalar : QString::fromUtf8(segment).toLower().toUcs4())
                m_text.push_back(scalar);
        }
        m_ranges.emplace_back(begin, m_text.size() - begin);
    }

    Scalars m_text;
    std::vector<std::pair<std::size_t, std::size_t>> m_ranges;
};

struct Outcome {
    double score;
    qsizetype lastMatchedSegmentIndex;
};

// Greedy, leftmost-first subsequence match of one token in one segment; never backtracks.
std::optional<double> matchSegment(std::u32string_view segment, std::u32string_view token)
{
    if (segment.size() < token.size())
        return std::nullopt;
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
    if (i < token.size())
        return std::nullopt;
    return s;
}

std::optional<Outcome> scoreSegments(const LoweredSegments &segments, const std::vector<Scalars> &tokens)
{
    const std::size_t count = segments.count();
    if (count == 0 || tokens.size() > count)
        return std::nullopt;
    double total = 0;
    std::size_t next = 0;
    std::size_t matched = 0;
    for (const Scalars &token : tokens) {
        if (next >= count)
            return std::nullopt;
        bool found = false;
        int skipped = 0;
        for (std::size_t index = next; index < count; ++index) {
            const std::u32string_view segment = segments.at(index);
            const std::optional<double> s = matchSegment(segment, token);
            if (!s) {
                ++skipped;
                continue;
            }
            const double whole = segment.size() == token.size() ? *s + 3.0 : *s;
            total = total + whole - 0.05 * double(segment.size() - token.size()) - 0.4 * skipped;
            matched = index;
            next = index + 1;
            found = true;
            break;
        }
        if (!found)
            return std::nullopt;
    }
    double result = total - 0.3 * double(count);
    if (matched == count - 1)
        result += 2.0;
    return Outcome{result, qsizetype(matched)};
}

QList<QByteArray> segmentsBelow(const QByteArray &path, const QByteArray &prefix)
{
    const QByteArray relative = path.startsWith(prefix) ? path.sliced(prefix.size()) : path;
    QList<QByteArray> segments = relative.split('/');
    segments.removeIf([](const QByteArray &piece) { return piece.isEmpty(); });
    return segments;
}

bool isAsciiPath(const QByteArray &path)
{
    return std::all_of(path.begin(), path.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

struct Candidate {
    double score;
    qsizetype index;
    qsizetype lastMatchedSegmentIndex;
};

void scanRange(const FolderPaths &paths, qsizetype begin, qsizetype end, const std::vector<Scalars> &tokens,
               std::uint64_t tokenMask, const QByteArray &prefix, std::vector<Candidate> &out)
{
    LoweredSegments lowered;
    for (qsizetype index = begin; index < end; ++index) {
        const std::uint64_t mask = paths.characterMask(index);
        if ((mask & tokenMask) != tokenMask)
            continue;
        lowered.assign(paths.at(index), prefix, !(mask & FolderPaths::nonAsciiBit));
        if (const auto outcome = scoreSegments(lowered, tokens))
            out.push_back({outcome->score, index, outcome->lastMatchedSegmentIndex});
    }
}

// Below this many paths per thread, starting a thread costs more than it saves.
constexpr qsizetype pathsPerThread = 25'000;

std::vector<Candidate> scanAll(const FolderPaths &paths, const std::vector<Scalars> &tokens, std::uint64_t tokenMask,
                               const QByteArray &prefix)
{
    const qsizetype cores = std::clamp<qsizetype>(std::thread::hardware_concurrency(), 1, 8);
    const qsizetype parts = std::clamp<qsizetype>(paths.size() / pathsPerThread, 1, cores);
    std::vector<std::vector<Candidate>> found(std::size_t(parts), std::vector<Candidate>{});
    const auto bounds = [&](qsizetype part) { return paths.size() * part / parts; };
    {
        std::vector<std::jthread> helpers;
        for (qsizetype part = 1; part < parts; ++part) {
            helpers.emplace_back([&, part] {
                scanRange(paths, bounds(part), bounds(part + 1), tokens, tokenMask, prefix, found[std::size_t(part)]);
            });
        }
        scanRange(paths, 0, bounds(1), tokens, tokenMask, prefix, found[0]);
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
        const QList<uint> ucs4 = token.toUcs4();
        result.emplace_back(ucs4.begin(), ucs4.end());
    }
    return result;
}

} // namespace

QList<FolderMatch> search(const QString &query, const FolderPaths &paths, const QByteArray &homePath,
                          qsizetype limit)
{
    const QStringList words = query.toLower().simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (words.isEmpty() || limit <= 0)
        return {};
    const std::vector<Scalars> tokens = toScalars(words);
    std::uint64_t tokenMask = 0;
    for (const Scalars &token : tokens) {
        for (const char32_t scalar : token)
            tokenMask |= FolderPaths::maskOf(scalar);
    }
    const QByteArray prefix = homePath + '/';

    std::vector<Candidate> candidates = scanAll(paths, tokens, tokenMask, prefix);
    // Best first; equal scores in snapshot order, as a stable sort would leave them.
    const auto better = [](const Candidate &a, const Candidate &b) {
        return a.score != b.score ? a.score > b.score : a.index < b.index;
    };
    const auto kept = std::min<std::size_t>(candidates.size(), std::size_t(limit));
    std::partial_sort(candidates.begin(), candidates.begin() + std::ptrdiff_t(kept), candidates.end(), better);

    QList<FolderMatch> matches;
    matches.reserve(qsizetype(kept));
    for (std::size_t rank = 0; rank < kept; ++rank) {
        const Candidate &candidate = candidates[rank];
        const QByteArray &path = paths.at(candidate.index);
        matches.append({path, candidate.score, candidate.lastMatchedSegmentIndex, segmentsBelow(path, prefix)});
    }
    return matches;
}

std::optional<FolderMatch> score(const QByteArray &path, const QStringList &tokens, const QByteArray &prefix)
{
    LoweredSegments lowered;
    lowered.assign(path, prefix, isAsciiPath(path));
    const auto outcome = scoreSegments(lowered, toScalars(tokens));
    if (!outcome)
        return std::nullopt;
    return FolderMatch{path, outcome->score, outcome->lastMatchedSegmentIndex, segmentsBelow(path, prefix)};
}

QList<FolderMatch> rankDestinations(QList<FolderMatch> matches, const QList<QByteArray> &history)
{
    for (FolderMatch &match : matches) {
        const qsizetype k = history.indexOf(match.path);
        if (k >= 0)
            match.score += std::max(0.0, 4.0 - 0.3 * double(k));
    }
    std::stable_sort(matches.begin(), matches.end(),
                     [](const FolderMatch &a, const FolderMatch &b) { return a.score > b.score; });
    return matches;
}

} // namespace dowsel
