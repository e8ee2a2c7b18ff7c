#include "app/gui/CommandLine.h"

#include "app/gui/ControlService.h"
#include "core/ByteCount.h"
#include "expiry/DurationParser.h"

#include <QCoreApplication>
#include <QDBusInterface>
#include <QDBusReply>
#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace dowsel {

namespace {

void printLine(const QString &text, FILE *stream = stdout)
{
    std::fputs(text.toLocal8Bit().constData(), stream);
    std::fputc('\n', stream);
}

int usage()
{
    printLine(QStringLiteral("usage: dowsel                      start Dowsel (or show the running one)\n"
                             "       dowsel list                 list tracked files\n"
                             "       dowsel keep FILE [DURATION] keep FILE as temporary (default expiry, or e.g. 2h)\n"
                             "       dowsel dismiss FILE         keep FILE for good\n"
                             "       dowsel trash FILE           move FILE to the Trash now"),
              stderr);
    return 2;
}

// Absolute path bytes, without resolving symlinks: the item itself is what the user named.
QByteArray absolutePath(const char *argument)
{
    QByteArray path(argument);
    if (path.startsWith('/'))
        return path;
    char cwd[4096];
    if (!::getcwd(cwd, sizeof cwd))
        return path;
    return QByteArray(cwd) + '/' + path;
}

QString remaining(const QDateTime &expiry)
{
    const qint64 seconds = QDateTime::currentDateTime().secsTo(expiry);
    if (seconds <= 0)
        return QStringLiteral("due now");
    const QString echo = DurationParser::formatEcho(double(seconds));
    return QStringLiteral("in ") + (echo.isEmpty() ? QStringLiteral("<1s") : echo);
}

int list(QDBusInterface &dowsel)
{
    const QDBusReply<QString> reply = dowsel.call(QStringLiteral("ListFiles"));
    if (!reply.isValid()) {
        printLine(QStringLiteral("dowsel: ") + reply.error().message(), stderr);
        return 1;
    }
    const QJsonArray files = QJsonDocument::fromJson(reply.value().toUtf8()).array();
    if (files.isEmpty()) {
        printLine(QStringLiteral("No tracked files."));
        return 0;
    }
    for (const QJsonValue &value : files) {
        const QJsonObject file = value.toObject();
        QString when;
        if (file.value(QStringLiteral("state")).toString() == u"temporary") {
            const QDateTime expiry = QDateTime::fromString(file.value(QStringLiteral("expiresAt")).toString(), Qt::ISODate);
            when = expiry.toString(QStringLiteral("yyyy-MM-dd HH:mm")) + QStringLiteral(" (") + remaining(expiry) + QLatin1Char(')');
        }
        printLine(QStringLiteral("%1  %2  %3  %4")
                      .arg(file.value(QStringLiteral("state")).toString(), -11)
                      .arg(when, -30)
                      .arg(formatByteCount(file.value(QStringLiteral("size")).toInteger()), 10)
                      .arg(file.value(QStringLiteral("path")).toString()));
    }
    return 0;
}

} // namespace

int runCommandLine(int argc, char *argv[])
{
    if (argc < 2)
        return -1;
    const QByteArray command(argv[1]);
    if (command != "list" && command != "keep" && command != "dismiss" && command != "trash") {
        if (command == "-h" || command == "--help" || command == "help")
            return usage();
        if (!command.startsWith('-'))
            return usage();
        return -1; // Qt's own options (-platform ...) go to the app
    }
    const bool needsFile = command != "list";
    if ((needsFile && argc < 3) || (!needsFile && argc > 2) || (command != "keep" && argc > 3) || argc > 4)
        return usage();

    QCoreApplication app(argc, argv);
    QDBusInterface dowsel(QString::fromLatin1(dbusServiceName), QString::fromLatin1(dbusObjectPath),
                          QString::fromLatin1(dbusInterfaceName), QDBusConnection::sessionBus());
    if (!dowsel.isValid()) {
        printLine(QStringLiteral("dowsel: Dowsel is not running (start it with `dowsel`)"), stderr);
        return 1;
    }
    if (command == "list")
        return list(dowsel);

    const QByteArray path = absolutePath(argv[2]);
    const QString name = QFile::decodeName(path.mid(path.lastIndexOf('/') + 1));
    QDBusMessage reply;
    if (command == "keep") {
        const QString duration = argc > 3 ? QString::fromLocal8Bit(argv[3]) : QString();
        reply = dowsel.call(QStringLiteral("Keep"), path, duration);
    } else if (command == "dismiss") {
        reply = dowsel.call(QStringLiteral("Dismiss"), path);
    } else {
        reply = dowsel.call(QStringLiteral("Trash"), path);
    }
    if (reply.type() == QDBusMessage::ErrorMessage) {
        printLine(QStringLiteral("dowsel: ") + reply.errorMessage(), stderr);
        return 1;
    }
    if (command == "keep") {
        const QDateTime expiry = QDateTime::fromString(reply.arguments().value(0).toString(), Qt::ISODate);
        printLine(QStringLiteral("Keeping %1 until %2 (%3)").arg(name, expiry.toString(QStringLiteral("yyyy-MM-dd HH:mm")), remaining(expiry)));
    } else if (command == "dismiss") {
        printLine(QStringLiteral("%1 stays where it is").arg(name));
    } else {
        printLine(QStringLiteral("Moved %1 to the Trash").arg(name));
    }
    return 0;
}

} // namespace dowsel
