#include "core/DownloadOrigin.h"

#include <QUrl>

#include <sys/xattr.h>

namespace dowsel {

namespace {

// The attribute's value, at most `limit` bytes (addresses are small; a huge value is not an
// address worth showing). Empty when absent or unreadable.
QByteArray readAttribute(const QByteArray &path, const char *name)
{
    constexpr qsizetype limit = 8192;
    QByteArray value(limit, Qt::Uninitialized);
    const ssize_t length = ::lgetxattr(path.constData(), name, value.data(), std::size_t(value.size()));
    if (length <= 0)
        return {};
    value.truncate(length);
    // Some writers end the text with a NUL.
    while (value.endsWith('\0'))
        value.chop(1);
    return value;
}

} // namespace

QString siteOfUrl(const QByteArray &url)
{
    const QByteArray trimmed = url.trimmed();
    if (trimmed.isEmpty() || trimmed.contains('\0'))
        return {};
    // Tolerant: downloaders write what they were given, spaces and all.
    const QUrl parsed(QString::fromUtf8(trimmed), QUrl::TolerantMode);
    if (!parsed.isValid())
        return {};
    const QString scheme = parsed.scheme().toLower();
    if (scheme != QLatin1String("http") && scheme != QLatin1String("https") && scheme != QLatin1String("ftp"))
        return {};
    // The host as the user reads it: an internationalised name in its own letters.
    QString host = parsed.host(QUrl::FullyDecoded).toLower();
    while (host.endsWith(QLatin1Char('.')))
        host.chop(1);
    if (host.startsWith(QLatin1String("www.")) && host.size() > 4)
        host.remove(0, 4);
    if (host.isEmpty() || host.contains(QLatin1Char('/')) || host.contains(QLatin1Char('@')))
        return {};
    return host;
}

QString downloadSite(const QByteArray &path)
{
    if (path.isEmpty())
        return {};
    for (const char *name : {originUrlAttribute, referrerUrlAttribute}) {
        if (QString site = siteOfUrl(readAttribute(path, name)); !site.isEmpty())
            return site;
    }
    return {};
}

} // namespace dowsel
