#include "ui/model/SupportMail.h"

#include <QCoreApplication>
#include <QFile>

#include <sys/utsname.h>

namespace dowsel {

namespace {

QString orQuestionMark(const QString &text)
{
    return text.isEmpty() ? QStringLiteral("?") : text;
}

// A shell-style os-release value: "quoted", 'quoted' or bare, with backslash escapes.
QString unquoted(QByteArray value)
{
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front())
        value = value.mid(1, value.size() - 2);
    QByteArray result;
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value[i] == '\\' && i + 1 < value.size())
            ++i;
        result.append(value[i]);
    }
    return QString::fromUtf8(result);
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(64 * 1024) : QByteArray();
}

} // namespace

QString applicationVersionText()
{
    return orQuestionMark(QCoreApplication::applicationVersion());
}

QString applicationBuildText()
{
#ifdef DOWSEL_BUILD
    return orQuestionMark(QStringLiteral(DOWSEL_BUILD));
#else
    return QStringLiteral("?");
#endif
}

QString systemDescription(const QByteArray &osRelease, const QString &kernelRelease)
{
    QString name;
    for (const QByteArray &line : osRelease.split('\n')) {
        const QByteArray trimmed = line.trimmed();
        if (trimmed.startsWith("PRETTY_NAME="))
            name = unquoted(trimmed.mid(int(sizeof("PRETTY_NAME=")) - 1)).trimmed();
    }
    if (name.isEmpty())
        name = QStringLiteral("Linux");
    if (kernelRelease.isEmpty())
        return name;
    return name + QStringLiteral(", Linux ") + kernelRelease;
}

QString currentSystemDescription()
{
    QByteArray osRelease = readFile(QStringLiteral("/etc/os-release"));
    if (osRelease.isEmpty())
        osRelease = readFile(QStringLiteral("/usr/lib/os-release"));
    struct utsname names {};
    const QString kernel = ::uname(&names) == 0 ? QString::fromLocal8Bit(names.release) : QString();
    return systemDescription(osRelease, kernel);
}

QString supportMailBody(const QString &version, const QString &build, const QString &system)
{
    return QCoreApplication::translate("SupportMail", "[describe what's up here]")
           + QStringLiteral("\n\n\u2014\u2014\u2014\nDowsel ") + orQuestionMark(version) + QStringLiteral(" (")
           + orQuestionMark(build) + QStringLiteral(")\n") + system;
}

QUrl supportMailUrl(const QString &body)
{
    QUrl url;
    url.setScheme(QStringLiteral("mailto"));
    url.setPath(QString::fromLatin1(supportMailbox));
    // Every reserved character encoded, so "&", "=", "+" and "#" in the texts stay text.
    const auto encoded = [](const QString &text) { return QString::fromLatin1(QUrl::toPercentEncoding(text)); };
    url.setQuery(QStringLiteral("subject=") + encoded(QCoreApplication::translate("SupportMail", "Dowsel support"))
                     + QStringLiteral("&body=") + encoded(body),
                 QUrl::StrictMode);
    return url;
}

} // namespace dowsel
