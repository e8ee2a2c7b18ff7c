#include "core/Tags.h"

#include "core/Logging.h"
#include "core/TrackedFile.h"

#include <QString>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/xattr.h>

namespace dowsel {

namespace {

void traceFailure(const char *operation, const QByteArray &path)
{
    // No user attributes on this file system, or a link (Linux allows none on links).
    if (errno == ENOTSUP || errno == EPERM)
        return;
    qCDebug(lcTags).noquote() << operation << displayText(path) << ":" << QString::fromLocal8Bit(std::strerror(errno));
}

QByteArray withoutExtension(const QByteArray &name)
{
    const qsizetype dot = name.lastIndexOf('.');
    return dot > 0 ? name.left(dot) : name;
}

} // namespace

QByteArrayList readTags(const QByteArray &path)
{
    // The attribute may grow between asking for its size and reading it; try again then.
    for (int attempt = 0; attempt < 3; ++attempt) {
        const ssize_t size = ::lgetxattr(path.constData(), tagsAttribute, nullptr, 0);
        if (size < 1)
            return {};
        QByteArray value(size, Qt::Uninitialized);
        const ssize_t read = ::lgetxattr(path.constData(), tagsAttribute, value.data(), size_t(size));
        if (read >= 0) {
            value.truncate(read);
            QByteArrayList tags = value.split(',');
            tags.removeAll(QByteArray());
            return tags;
        }
        if (errno != ERANGE)
            return {};
    }
    return {};
}

void writeTags(const QByteArrayList &tags, const QByteArray &path)
{
    if (tags.isEmpty()) {
        if (::lremovexattr(path.constData(), tagsAttribute) != 0 && errno != ENODATA)
            traceFailure("removing tags of", path);
        return;
    }
    const QByteArray value = tags.join(',');
    if (::lsetxattr(path.constData(), tagsAttribute, value.constData(), size_t(value.size()), 0) != 0)
        traceFailure("writing tags of", path);
}

bool isDowselTag(const QByteArray &tag)
{
    return tag.startsWith("Dowsel:") || tag.startsWith("Sivra:");
}

void addTemporaryTag(const QByteArray &path)
{
    if (path.isEmpty())
        return;
    QByteArrayList tags = readTags(path);
    if (std::any_of(tags.cbegin(), tags.cend(), isDowselTag))
        return;
    tags.append(temporaryTag);
    writeTags(tags, path);
}

void removeTemporaryTag(const QByteArray &path)
{
    if (path.isEmpty())
        return;
    QByteArrayList tags = readTags(path);
    if (tags.removeIf(isDowselTag) > 0)
        writeTags(tags, path);
}

QByteArray pathExtension(const QByteArray &name)
{
    const qsizetype dot = name.lastIndexOf('.');
    return dot > 0 ? name.mid(dot + 1).toLower() : QByteArray();
}

bool isArchiveName(const QByteArray &name)
{
    const QByteArray extension = pathExtension(name);
    return std::any_of(archiveExtensions.cbegin(), archiveExtensions.cend(),
                       [&](const char *candidate) { return extension == candidate; });
}

QByteArray archiveBaseName(const QByteArray &archiveName)
{
    const QByteArray base = withoutExtension(archiveName);
    return pathExtension(base) == "tar" ? withoutExtension(base) : base;
}

bool matchesArchive(const QByteArray &itemName, const QByteArray &archiveName)
{
    const QByteArray base = archiveBaseName(archiveName);
    if (base.isEmpty())
        return false;
    if (itemName == base)
        return true;
    if (!itemName.startsWith(base + ' '))
        return false;
    const QList<uint> number = QString::fromUtf8(itemName.mid(base.size() + 1)).toUcs4();
    return !number.isEmpty() && std::all_of(number.cbegin(), number.cend(), [](uint c) { return QChar::isNumber(char32_t(c)); });
}

QByteArray parentPath(const QByteArray &path)
{
    QByteArray trimmed = path;
    while (trimmed.size() > 1 && trimmed.endsWith('/'))
        trimmed.chop(1);
    const qsizetype slash = trimmed.lastIndexOf('/');
    if (slash < 0)
        return {};
    return slash == 0 ? QByteArray("/") : trimmed.left(slash);
}

} // namespace dowsel
