#include "move/FolderPaths.h"

#include <QString>

namespace dowsel {

namespace {

bool isAscii(const QByteArray &bytes)
{
    for (const char c : bytes) {
        if (static_cast<unsigned char>(c) >= 0x80)
            return false;
    }
    return true;
}

std::uint64_t asciiMask(const QByteArray &path)
{
    std::uint64_t mask = 0;
    for (const char c : path) {
        const char lower = (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c;
        mask |= FolderPaths::maskOf(char32_t(static_cast<unsigned char>(lower)));
    }
    return mask;
}

// Segments are lower-cased one by one, exactly as the matcher does it.
std::uint64_t unicodeMask(const QByteArray &path)
{
    std::uint64_t mask = FolderPaths::nonAsciiBit;
    for (const QByteArray &segment : path.split('/')) {
        for (const char32_t scalar : QString::fromUtf8(segment).toLower().toUcs4())
            mask |= FolderPaths::maskOf(scalar);
    }
    return mask;
}

} // namespace

FolderPaths::FolderPaths() : m_data(std::make_shared<const Data>()) {}

FolderPaths::FolderPaths(QList<QByteArray> paths)
{
    auto data = std::make_shared<Data>();
    data->masks.reserve(std::size_t(paths.size()));
    for (const QByteArray &path : paths)
        data->masks.push_back(isAscii(path) ? asciiMask(path) : unicodeMask(path));
    data->paths = std::move(paths);
    m_data = std::move(data);
}

std::uint64_t FolderPaths::maskOf(char32_t lowerScalar)
{
    unsigned bit;
    if (lowerScalar >= U'a' && lowerScalar <= U'z')
        bit = unsigned(lowerScalar - U'a');
    else if (lowerScalar >= U'0' && lowerScalar <= U'9')
        bit = 26 + unsigned(lowerScalar - U'0');
    else if (lowerScalar < 0x80)
        bit = 36 + unsigned(lowerScalar % 14);
    else
        bit = 50 + unsigned(lowerScalar % 13);
    return std::uint64_t(1) << bit;
}

} // namespace dowsel
