#include "app/LoginItem.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace dowsel {

QString loginItemPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/autostart/dowsel.desktop");
}

namespace {

// Desktop Entry Exec quoting: the path in double quotes with ", `, $ and \ escaped.
QString quotedExec(const QString &path)
{
    QString escaped;
    for (QChar c : path) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            escaped += QLatin1Char('\\');
        escaped += c;
    }
    return QLatin1Char('"') + escaped + QLatin1Char('"');
}

} // namespace

std::optional<QString> registerLoginItem(const QString &executablePath)
{
    const QString path = loginItemPath();
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return QStringLiteral("cannot create %1").arg(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    const QString entry = QStringLiteral("[Desktop Entry]\n"
                                         "Type=Application\n"
                                         "Name=Dowsel\n"
                                         "Comment=Keeps the Downloads folder tidy\n"
                                         "Exec=%1\n"
                                         "Icon=folder-download\n"
                                         "Terminal=false\n"
                                         "X-GNOME-Autostart-enabled=true\n")
                              .arg(quotedExec(executablePath));
    file.write(entry.toUtf8());
    if (!file.commit())
        return file.errorString();
    return std::nullopt;
}

} // namespace dowsel
