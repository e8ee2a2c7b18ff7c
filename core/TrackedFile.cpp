#include "core/TrackedFile.h"

#include "core/ByteCount.h"
#include "core/Tags.h"

#include <QCoreApplication>
#include <QFile>

#include <climits>
#include <cstdlib>

namespace dowsel {

QString rawValue(FileState state)
{
    switch (state) {
    case FileState::unprocessed:
        return QStringLiteral("unprocessed");
    case FileState::temporary:
        return QStringLiteral("temporary");
    case FileState::dismissed:
        return QStringLiteral("dismissed");
    }
    return {};
}

std::optional<FileState> fileStateFromRaw(QStringView raw)
{
    if (raw == u"unprocessed")
        return FileState::unprocessed;
    if (raw == u"temporary")
        return FileState::temporary;
    if (raw == u"dismissed")
        return FileState::dismissed;
    return std::nullopt;
}

QString displayText(const QByteArray &pathBytes)
{
    return QFile::decodeName(pathBytes);
}

QByteArray fileNameOf(const QByteArray &path)
{
    QByteArray trimmed = path;
    while (trimmed.size() > 1 && trimmed.endsWith('/'))
        trimmed.chop(1);
    const qsizetype slash = trimmed.lastIndexOf('/');
    return slash < 0 ? trimmed : trimmed.mid(slash + 1);
}

QString TrackedFile::sizeLabel() const
{
    if (isFolderLike())
        return QCoreApplication::translate("TrackedFile", "Folder");
    return formatByteCount(fileSize);
}

namespace {

// The folder holding `path` with links, "." and ".." resolved; empty when it is not there.
QByteArray realFolder(const QByteArray &path)
{
    char resolved[PATH_MAX];
    const QByteArray folder = parentPath(path);
    return ::realpath(folder.isEmpty() ? "/" : folder.constData(), resolved) ? QByteArray(resolved) : QByteArray();
}

} // namespace

bool namesSameItem(const QByteArray &requested, const QByteArray &recorded)
{
    if (requested == recorded)
        return true;
    if (fileNameOf(requested) != fileNameOf(recorded))
        return false;
    const QByteArray folder = realFolder(requested);
    return !folder.isEmpty() && folder == realFolder(recorded);
}

} // namespace dowsel
