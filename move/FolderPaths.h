#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace dowsel {

// Up to `capacity` folder paths with a summary of the characters each one holds, so that a
// search can pass over most paths without reading them.
struct FolderChunk {
    static constexpr std::size_t capacity = 1024;
    std::vector<QByteArray> paths;
    std::vector<std::uint64_t> masks;

    void append(const QByteArray &path);
    // Removes the path in `slot` by moving the last one into its place.
    void removeAt(std::size_t slot);
};

// A snapshot of the folder index: absolute folder paths in no particular order, in chunks.
// Immutable; copies share the data, so handing a snapshot out costs a reference count, and a
// new snapshot made after a small change shares every chunk the change left alone.
class FolderPaths {
public:
    using Chunks = std::vector<std::shared_ptr<const FolderChunk>>;

    FolderPaths();
    explicit FolderPaths(const QList<QByteArray> &paths);
    explicit FolderPaths(Chunks chunks);

    qsizetype size() const { return m_data->size; }
    bool isEmpty() const { return m_data->size == 0; }
    const Chunks &chunks() const { return m_data->chunks; }
    // Every path, chunk after chunk (a copy; for tests and tools).
    QList<QByteArray> list() const;
    bool contains(const QByteArray &path) const;

    // The characters of the folded path (see appendFolded) folded into 63 bits, plus
    // `nonAsciiBit` when the path holds any byte outside ASCII. A token can only match a path
    // whose mask covers the token's own mask.
    static std::uint64_t maskOfPath(const QByteArray &path);
    static std::uint64_t maskOf(char32_t foldedScalar);
    static constexpr std::uint64_t nonAsciiBit = std::uint64_t(1) << 63;

private:
    struct Data {
        Chunks chunks;
        qsizetype size = 0;
    };
    std::shared_ptr<const Data> m_data;
};

// Appends `text` (UTF-8, or any bytes) to `out` the way names are compared: lower-cased, and
// letters with their accents taken off ("É" and "e" plus a combining accent both become "e").
void appendFolded(QByteArrayView text, std::u32string &out);
std::u32string folded(QStringView text);

} // namespace dowsel
