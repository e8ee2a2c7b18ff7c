#pragma once

#include <QByteArray>
#include <QList>

#include <cstdint>
#include <memory>
#include <vector>

namespace dowsel {

// A snapshot of the folder index: absolute folder paths in crawl order, plus a summary of
// the characters each one holds so that a search can pass over most paths without reading
// them. Immutable; copies share the data, so handing a snapshot out costs a reference count.
class FolderPaths {
public:
    FolderPaths();
    explicit FolderPaths(QList<QByteArray> paths);

    qsizetype size() const { return m_data->paths.size(); }
    bool isEmpty() const { return m_data->paths.isEmpty(); }
    const QByteArray &at(qsizetype index) const { return m_data->paths.at(index); }
    const QList<QByteArray> &list() const { return m_data->paths; }

    // The characters of the lower-cased path folded into 63 bits, plus `nonAsciiBit` when the
    // path holds any byte outside ASCII. A token can only match a path whose mask covers the
    // token's own mask.
    std::uint64_t characterMask(qsizetype index) const { return m_data->masks[std::size_t(index)]; }
    static std::uint64_t maskOf(char32_t lowerScalar);
    static constexpr std::uint64_t nonAsciiBit = std::uint64_t(1) << 63;

private:
    struct Data {
        QList<QByteArray> paths;
        std::vector<std::uint64_t> masks;
    };
    std::shared_ptr<const Data> m_data;
};

} // namespace dowsel
