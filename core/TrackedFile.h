#pragma once

#include "core/FileIdentity.h"
#include "platform/Time.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

namespace dowsel {

// File paths and names are kept as the exact bytes the kernel gave us: a download's name
// may be any byte sequence, valid UTF-8 or not. Convert for display only (displayText).
using RecordId = std::int64_t; // the store's persistent identifier of a record

enum class FileState { unprocessed, temporary, dismissed };

QString rawValue(FileState state);
std::optional<FileState> fileStateFromRaw(QStringView raw);

// Text for showing a path or name to the user; never use it to reach the file again.
QString displayText(const QByteArray &pathBytes);
// Last component of a path ("/a/b.pdf" -> "b.pdf").
QByteArray fileNameOf(const QByteArray &path);
// Whether `requested` names the item at `recorded`: the same bytes, or the same name in the
// same folder reached another way ("./", "..", a linked folder). A hard link elsewhere or a
// path that only shares the inode does not.
bool namesSameItem(const QByteArray &requested, const QByteArray &recorded);

struct TrackedFile {
    RecordId id = 0;
    std::uint64_t inode = 0;
    QByteArray filePath;
    QByteArray fileName;
    FileState state = FileState::unprocessed;
    Date detectedAt = 0;
    std::optional<Date> markedTemporaryAt;
    std::optional<Date> expiresAt;
    std::int64_t fileSize = 0;
    std::int64_t identityGuard = 0; // see FileIdentity

    FileIdentity identity() const { return {inode, identityGuard}; }
    // No separate folder flag: size 0 with a path stands for a folder (an empty file too).
    bool isFolderLike() const { return fileSize == 0 && !filePath.isEmpty(); }
    QString sizeLabel() const; // "Folder" or the byte count, e.g. "12.3 MB"
    QString temporaryRowId() const { return QStringLiteral("t-") + QString::number(id); }
    QString ignoredRowId() const { return QStringLiteral("i-") + QString::number(id); }
};

// One item found on disk by the start-up scan.
struct DownloadFileSnapshot {
    FileIdentity identity;
    QByteArray filePath;
    QByteArray fileName;
    std::int64_t fileSize = 0;
};

} // namespace dowsel
