#include "move/FolderPaths.h"

#include <QString>

#include <algorithm>
#include <vector>

namespace dowsel {

namespace {

bool isAscii(QByteArrayView bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// The combining accents that decomposed Latin, Greek and Cyrillic letters carry. Marks of
// other scripts (Indic vowel signs, for one) are part of the letter and stay.
bool isAccent(char32_t scalar)
{
    return (scalar >= 0x0300 && scalar <= 0x036F) || (scalar >= 0x1AB0 && scalar <= 0x1AFF)
           || (scalar >= 0x1DC0 && scalar <= 0x1DFF) || (scalar >= 0x20D0 && scalar <= 0x20FF)
           || (scalar >= 0xFE20 && scalar <= 0xFE2F);
}

char32_t firstScalar(const QString &text)
{
    if (text.isEmpty())
        return 0;
    if (text.size() > 1 && text.at(0).isHighSurrogate())
        return QChar::surrogateToUcs4(text.at(0), text.at(1));
    return text.at(0).unicode();
}

// The letter under its accents: "é" → "e", "ǖ" → "ü" → "u". Letters that carry their stroke
// in the glyph rather than as a mark get their usual plain letter.
char32_t baseLetter(char32_t scalar)
{
    // Hangul syllables decompose into letters, not into a letter and accents.
    if (scalar >= 0xAC00 && scalar <= 0xD7A3)
        return scalar;
    for (int depth = 0; depth < 4 && QChar::decompositionTag(scalar) == QChar::Canonical; ++depth) {
        const char32_t base = firstScalar(QChar::decomposition(scalar));
        if (base == 0 || base == scalar)
            break;
        scalar = base;
    }
    switch (scalar) {
    case U'ø': return U'o';
    case U'ł': return U'l';
    case U'đ': return U'd';
    case U'ħ': return U'h';
    case U'ı': return U'i';
    case U'ŧ': return U't';
    default: return scalar;
    }
}

// The folded form of one lower-cased scalar; 0 for an accent, which is dropped.
char32_t foldScalar(char32_t scalar)
{
    if (isAccent(scalar))
        return 0;
    const char32_t base = baseLetter(scalar);
    return isAccent(base) ? 0 : base;
}

// Most folder names use the scripts below U+3000; their folded forms are worked out once.
constexpr char32_t tableEnd = 0x3000;

const std::vector<char32_t> &foldTable()
{
    static const std::vector<char32_t> table = [] {
        std::vector<char32_t> folded(tableEnd);
        for (char32_t scalar = 0; scalar < tableEnd; ++scalar)
            folded[scalar] = scalar < 0x80 ? scalar : foldScalar(scalar);
        return folded;
    }();
    return table;
}

void appendFoldedScalars(const QString &lowered, std::u32string &out)
{
    const std::vector<char32_t> &table = foldTable();
    for (const char32_t scalar : lowered.toUcs4()) {
        const char32_t folded = scalar < tableEnd ? table[scalar] : foldScalar(scalar);
        if (folded != 0)
            out.push_back(folded);
    }
}

} // namespace

void appendFolded(QByteArrayView text, std::u32string &out)
{
    if (isAscii(text)) {
        for (const char c : text)
            out.push_back(char32_t((c >= 'A' && c <= 'Z') ? c - 'A' + 'a' : c));
        return;
    }
    appendFoldedScalars(QString::fromUtf8(text).toLower(), out);
}

std::u32string folded(QStringView text)
{
    std::u32string out;
    appendFoldedScalars(text.toString().toLower(), out);
    return out;
}

void FolderChunk::append(const QByteArray &path)
{
    paths.push_back(path);
    masks.push_back(FolderPaths::maskOfPath(path));
}

void FolderChunk::removeAt(std::size_t slot)
{
    paths[slot] = std::move(paths.back());
    paths.pop_back();
    masks[slot] = masks.back();
    masks.pop_back();
}

FolderPaths::FolderPaths() : m_data(std::make_shared<const Data>()) {}

FolderPaths::FolderPaths(const QList<QByteArray> &paths)
{
    Chunks chunks;
    std::shared_ptr<FolderChunk> chunk;
    for (const QByteArray &path : paths) {
        if (!chunk || chunk->paths.size() == FolderChunk::capacity) {
            if (chunk)
                chunks.push_back(std::move(chunk));
            chunk = std::make_shared<FolderChunk>();
            chunk->paths.reserve(FolderChunk::capacity);
            chunk->masks.reserve(FolderChunk::capacity);
        }
        chunk->append(path);
    }
    if (chunk)
        chunks.push_back(std::move(chunk));
    *this = FolderPaths(std::move(chunks));
}

FolderPaths::FolderPaths(Chunks chunks)
{
    auto data = std::make_shared<Data>();
    for (const auto &chunk : chunks)
        data->size += qsizetype(chunk->paths.size());
    data->chunks = std::move(chunks);
    m_data = std::move(data);
}

QList<QByteArray> FolderPaths::list() const
{
    QList<QByteArray> all;
    all.reserve(size());
    for (const auto &chunk : m_data->chunks)
        all.append(QList<QByteArray>(chunk->paths.begin(), chunk->paths.end()));
    return all;
}

bool FolderPaths::contains(const QByteArray &path) const
{
    return std::any_of(m_data->chunks.begin(), m_data->chunks.end(), [&path](const auto &chunk) {
        return std::find(chunk->paths.begin(), chunk->paths.end(), path) != chunk->paths.end();
    });
}

std::uint64_t FolderPaths::maskOfPath(const QByteArray &path)
{
    std::uint64_t mask = 0;
    if (isAscii(path)) {
        for (const char c : path) {
            const char lower = (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c;
            mask |= maskOf(char32_t(static_cast<unsigned char>(lower)));
        }
        return mask;
    }
    // Segments are folded one by one, exactly as the matcher does it.
    std::u32string scalars;
    for (const QByteArray &segment : path.split('/'))
        appendFolded(segment, scalars);
    for (const char32_t scalar : scalars)
        mask |= maskOf(scalar);
    return mask | nonAsciiBit;
}

std::uint64_t FolderPaths::maskOf(char32_t foldedScalar)
{
    unsigned bit;
    if (foldedScalar >= U'a' && foldedScalar <= U'z')
        bit = unsigned(foldedScalar - U'a');
    else if (foldedScalar >= U'0' && foldedScalar <= U'9')
        bit = 26 + unsigned(foldedScalar - U'0');
    else if (foldedScalar < 0x80)
        bit = 36 + unsigned(foldedScalar % 14);
    else
        bit = 50 + unsigned(foldedScalar % 13);
    return std::uint64_t(1) << bit;
}

} // namespace dowsel
