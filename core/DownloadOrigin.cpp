#include "core/DownloadOrigin.h"

#include <QStringList>

#include <algorithm>
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

// Cyrillic and Greek letters drawn like Latin ones: a name written only with them under a
// Latin top-level domain ("аррӏе.com") reads as another, well-known site.
bool looksLatin(QChar c)
{
    static const QString lookalikes = QStringLiteral(
        "\u0430\u0441\u0501\u0435\u04bb\u0456\u0458\u04cf\u043e\u0440\u051b\u0455\u051d\u0445\u0443"
        "\u044a\u044c\u04bd\u043f\u0433\u0475\u0461" // а с ԁ е һ і ј ӏ о р ԛ ѕ ԝ х у ъ ь ҽ п г ѵ ѡ
        "\u03bf\u03b1\u03c1\u03bd\u03b9\u03ba\u03c4\u03c5\u03f2\u03c7"); // ο α ρ ν ι κ τ υ ϲ χ
    return lookalikes.contains(c);
}

// A label the user may read in its own letters: one script (digits and hyphens aside), or Latin
// with the scripts Chinese, Japanese and Korean names mix; and not a whole-script lookalike of
// a Latin name under a Latin top-level domain. Others are shown as the ASCII form the DNS uses
// ("xn--80ak6aa92e"), as browsers do.
bool readableLabel(const QString &label, bool latinTopLevel)
{
    static const QList<QChar::Script> mixable{QChar::Script_Latin, QChar::Script_Han, QChar::Script_Hiragana,
                                              QChar::Script_Katakana, QChar::Script_Hangul, QChar::Script_Bopomofo};
    QList<QChar::Script> scripts;
    bool allLookalikes = true;
    for (const QChar c : label) {
        const QChar::Script script = c.script();
        if (script == QChar::Script_Common || script == QChar::Script_Inherited)
            continue;
        if (!scripts.contains(script))
            scripts << script;
        allLookalikes = allLookalikes && looksLatin(c);
    }
    if (scripts.size() > 1)
        return std::all_of(scripts.begin(), scripts.end(), [](QChar::Script s) { return mixable.contains(s); });
    const bool lookalikeScript =
        !scripts.isEmpty() && (scripts.first() == QChar::Script_Cyrillic || scripts.first() == QChar::Script_Greek);
    return !(latinTopLevel && lookalikeScript && allLookalikes);
}

QString readableHost(const QUrl &url)
{
    const QStringList decoded = url.host(QUrl::FullyDecoded).split(QLatin1Char('.'));
    const QStringList ascii = url.host(QUrl::EncodeUnicode).split(QLatin1Char('.'));
    if (decoded.size() != ascii.size())
        return url.host(QUrl::EncodeUnicode);
    QString topLevel = decoded.last();
    if (topLevel.isEmpty() && decoded.size() > 1)
        topLevel = decoded.at(decoded.size() - 2);
    bool latinTopLevel = true;
    for (const QChar c : topLevel)
        latinTopLevel = latinTopLevel && c.unicode() < 0x80;
    QStringList labels;
    for (qsizetype i = 0; i < decoded.size(); ++i)
        labels << (readableLabel(decoded.at(i), latinTopLevel) ? decoded.at(i) : ascii.at(i));
    return labels.join(QLatin1Char('.'));
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
    // The host as the user reads it: an internationalised name in its own letters, unless
    // those letters pass for another site's.
    QString host = readableHost(parsed).toLower();
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
