#pragma once

#include "platform/Time.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <initializer_list>

namespace dowsel {

// The flags word of one file event. The bit values are the ones Dowsel has always stored and
// logged; the monitor sets them from inotify masks. Bits without a name are carried through.
struct FSEventFlags {
    std::uint32_t rawValue = 0;

    static constexpr std::uint32_t mustScanBit = 0x00000001;
    static constexpr std::uint32_t createdBit = 0x00000100;
    static constexpr std::uint32_t removedBit = 0x00000200;
    static constexpr std::uint32_t renamedBit = 0x00000800;
    static constexpr std::uint32_t modifiedBit = 0x00001000;
    static constexpr std::uint32_t isFileBit = 0x00010000;
    static constexpr std::uint32_t isDirBit = 0x00020000;
    // Linux only: an attribute change (tags, times, mode) is not a change of the content, and
    // a writer closing the file tells that it is done with it.
    static constexpr std::uint32_t metadataChangedBit = 0x00000400;
    static constexpr std::uint32_t closedAfterWriteBit = 0x01000000;

    static const FSEventFlags mustScan;
    static const FSEventFlags created;
    static const FSEventFlags removed;
    static const FSEventFlags renamed;
    static const FSEventFlags modified;
    static const FSEventFlags isFile;
    static const FSEventFlags isDir;
    static const FSEventFlags metadataChanged;
    static const FSEventFlags closedAfterWrite;

    constexpr FSEventFlags() = default;
    constexpr explicit FSEventFlags(std::uint32_t raw) : rawValue(raw) { }
    constexpr FSEventFlags(std::initializer_list<FSEventFlags> members)
    {
        for (FSEventFlags member : members)
            rawValue |= member.rawValue;
    }

    constexpr bool contains(FSEventFlags other) const { return (rawValue & other.rawValue) == other.rawValue; }
    constexpr bool isEmpty() const { return rawValue == 0; }
    constexpr FSEventFlags operator|(FSEventFlags other) const { return FSEventFlags(rawValue | other.rawValue); }
    constexpr FSEventFlags operator&(FSEventFlags other) const { return FSEventFlags(rawValue & other.rawValue); }
    constexpr FSEventFlags subtracting(FSEventFlags other) const { return FSEventFlags(rawValue & ~other.rawValue); }
    constexpr FSEventFlags &operator|=(FSEventFlags other)
    {
        rawValue |= other.rawValue;
        return *this;
    }
    constexpr bool operator==(const FSEventFlags &) const = default;
};

inline constexpr FSEventFlags FSEventFlags::mustScan{FSEventFlags::mustScanBit};
inline constexpr FSEventFlags FSEventFlags::created{FSEventFlags::createdBit};
inline constexpr FSEventFlags FSEventFlags::removed{FSEventFlags::removedBit};
inline constexpr FSEventFlags FSEventFlags::renamed{FSEventFlags::renamedBit};
inline constexpr FSEventFlags FSEventFlags::modified{FSEventFlags::modifiedBit};
inline constexpr FSEventFlags FSEventFlags::isFile{FSEventFlags::isFileBit};
inline constexpr FSEventFlags FSEventFlags::isDir{FSEventFlags::isDirBit};
inline constexpr FSEventFlags FSEventFlags::metadataChanged{FSEventFlags::metadataChangedBit};
inline constexpr FSEventFlags FSEventFlags::closedAfterWrite{FSEventFlags::closedAfterWriteBit};

// The names of the members present, in a fixed order, joined with ", " ("created, isFile").
QString flagDescription(FSEventFlags flags);

// One change under the watched folder.
struct FileEvent {
    QByteArray path; // absolute; empty when unknown
    std::uint64_t inode = 0; // 0 when unknown
    FSEventFlags flags;
    Date timestamp = 0; // when the monitor delivered the batch holding this event
    std::int64_t guard = 0; // the inode's guard (FileIdentity), 0 when unknown
};

} // namespace dowsel
