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
#include <vector>

namespace dowsel {

namespace {

void printLine(const QString &text, FILE *stream = stdout)
{
    std::fputs(text.toLocal8Bit().constData(), stream);
    std::fputc('\n', stream);
}

const char usageText[] = "usage: dowsel                      start Dowsel (or show the running one)\n"
                         "       dowsel list                 list tracked files\n"
                         "       dowsel keep FILE [DURATION] keep FILE as temporary (default expiry, or e.g. 2h)\n"
                         "       dowsel dismiss FILE         keep FILE for good\n"
                         "       dowsel trash FILE           move FILE to the Trash now\n"
                         "       dowsel restore FILE         put back FILE (its path or name) that Dowsel moved\n"
                         "                                   to the Trash\n"
                         "       dowsel toast ACTION         act on the toast that is showing: keep, keep-for\n"
                         "                                   DURATION, time, move, more, open, copy, share,\n"
                         "                                   delete, trash-copy, dismiss (bind these where keys\n"
                         "                                   cannot be grabbed)\n"
                         "       dowsel status               the session, the shortcuts, autostart, Downloads access\n"
                         "       dowsel --help | --version\n"
                         "A FILE that starts with \"-\" goes after \"--\": dowsel keep -- -notes.txt";

int usage()
{
    printLine(QString::fromUtf8(usageText), stderr);
    return 2;
}

int refuse(const QString &problem)
{
    printLine(QStringLiteral("dowsel: ") + problem, stderr);
    printLine(QStringLiteral("Try `dowsel --help`."), stderr);
    return 2;
}

// Absolute path bytes, without resolving symlinks: the item itself is what the user named.
QByteArray absolutePath(const char *argument)
{
    QByteArray path(argument);
    while (path.size() > 1 && path.endsWith('/'))
        path.chop(1);
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

int status(QDBusInterface &dowsel)
{
    const QDBusReply<QString> reply = dowsel.call(QStringLiteral("Status"));
    if (!reply.isValid()) {
        printLine(QStringLiteral("dowsel: ") + reply.error().message(), stderr);
        return 1;
    }
    const QJsonObject status = QJsonDocument::fromJson(reply.value().toUtf8()).object();
    const auto text = [&status](const char *key) { return status.value(QLatin1String(key)).toString(); };
    const auto yesNo = [&status](const char *key) {
        return status.value(QLatin1String(key)).toBool() ? QStringLiteral("yes") : QStringLiteral("no");
    };
    QString session = text("session");
    if (!text("desktop").isEmpty())
        session += QStringLiteral(" (") + text("desktop") + QLatin1Char(')');
    printLine(QStringLiteral("Session:            ") + session);
    // On X11 the windows are X11 windows, as ever; on Wayland, how they reach the screen.
    QString windows = text("session") == u"wayland" ? text("windows") : QString();
    if (windows == QLatin1String("xwayland")) {
        windows = QStringLiteral("through Xwayland");
        if (!text("x11WindowManager").isEmpty())
            windows += QStringLiteral(" (") + text("x11WindowManager") + QLatin1Char(')');
        windows += status.value(QStringLiteral("inputsUnmanaged")).toBool()
            ? QStringLiteral(": the toast and its inputs above other windows, the inputs take the keyboard when shown")
            : QStringLiteral(": the toast above other windows, its inputs as dialogs the desktop activates");
    } else if (windows == QLatin1String("wayland")) {
        windows = QStringLiteral("Wayland: the desktop places the toast, and clicks beside it do not pass");
    }
    if (!windows.isEmpty())
        printLine(QStringLiteral("Windows:            ") + windows);
    QString shortcuts = yesNo("shortcutsGranted");
    if (!text("shortcutsReason").isEmpty())
        shortcuts += QStringLiteral(": ") + text("shortcutsReason");
    printLine(QStringLiteral("Shortcuts granted:  ") + shortcuts);
    // On X11 the grabs are all there is; on Wayland, which of the portal and the commands.
    if (text("session") == u"wayland" && !text("shortcutsVia").isEmpty()) {
        QString via = text("shortcutsVia");
        if (!text("shortcutsHow").isEmpty())
            via += QStringLiteral(" (") + text("shortcutsHow") + QLatin1Char(')');
        printLine(QStringLiteral("Shortcuts through:  ") + via);
    }
    if (!text("portal").isEmpty() && text("portal") != u"not used")
        printLine(QStringLiteral("Shortcuts portal:   ") + text("portal"));
    QStringList held;
    for (const QJsonValue &combination : status.value(QStringLiteral("shortcutsHeldByOthers")).toArray())
        held << combination.toString();
    if (!held.isEmpty())
        printLine(QStringLiteral("Held by others:     ") + held.join(QStringLiteral(", ")));
    printLine(QStringLiteral("Toast showing:      ") + yesNo("toastShowing"));
    printLine(QStringLiteral("Autostart:          ") + text("autostart"));
    printLine(QStringLiteral("Downloads access:   ") + yesNo("downloadsAccess") + QStringLiteral(" (")
              + text("downloadsFolder") + QLatin1Char(')'));
    return 0;
}

// What the desktop that runs the command for a key gave it for the window that opens in
// answer to take the focus: a Wayland launcher's xdg-activation token, else an X11 startup ID
// (GNOME and KDE set one as well).
QString activationToken()
{
    const QByteArray token = qgetenv("XDG_ACTIVATION_TOKEN");
    return QString::fromUtf8(token.isEmpty() ? qgetenv("DESKTOP_STARTUP_ID") : token);
}

int toast(QDBusInterface &dowsel, const QString &action, const QString &duration)
{
    QDBusMessage reply = dowsel.call(QStringLiteral("ToastWithActivation"), action, duration, activationToken());
    // A Dowsel started before an upgrade knows only Toast().
    if (reply.type() == QDBusMessage::ErrorMessage && reply.errorName() == u"org.freedesktop.DBus.Error.UnknownMethod")
        reply = dowsel.call(QStringLiteral("Toast"), action, duration);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        printLine(QStringLiteral("dowsel: ") + reply.errorMessage(), stderr);
        return 1;
    }
    return 0;
}

// A bare name is looked up among the names of what Dowsel trashed; anything with a slash is
// a path, made absolute.
int restore(QDBusInterface &dowsel, const QByteArray &file)
{
    const QByteArray named = file.contains('/') ? absolutePath(file.constData()) : file;
    const QDBusMessage reply = dowsel.call(QStringLiteral("Restore"), named);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        printLine(QStringLiteral("dowsel: ") + reply.errorMessage(), stderr);
        return 1;
    }
    const QByteArray restored = reply.arguments().value(0).toByteArray();
    if (restored.isEmpty()) {
        printLine(QStringLiteral("dowsel: Dowsel gave no answer about where %1 is").arg(QFile::decodeName(file)), stderr);
        return 1;
    }
    const QByteArray originalName = named.mid(named.lastIndexOf('/') + 1);
    const QByteArray restoredName = restored.mid(restored.lastIndexOf('/') + 1);
    if (restoredName != originalName)
        printLine(QStringLiteral("%1 is taken: put back as %2").arg(QFile::decodeName(named), QFile::decodeName(restored)));
    else
        printLine(QStringLiteral("Put back %1").arg(QFile::decodeName(restored)));
    return 0;
}

} // namespace

int runCommandLine(int argc, char *argv[])
{
    // Options anywhere before "--"; everything after it is an operand, even "-x.txt".
    std::vector<QByteArray> operands;
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        const QByteArray argument(argv[i]);
        if (optionsEnded || argument == "-" || !argument.startsWith('-')) {
            operands.push_back(argument);
        } else if (argument == "--") {
            optionsEnded = true;
        } else if (argument == "-h" || argument == "--help") {
            printLine(QString::fromUtf8(usageText));
            return 0;
        } else if (argument == "-v" || argument == "--version") {
            printLine(QStringLiteral("dowsel " DOWSEL_VERSION));
            return 0;
        } else {
            return refuse(QStringLiteral("unknown option %1").arg(QString::fromLocal8Bit(argument)));
        }
    }
    if (operands.empty())
        return -1;
    const QByteArray command = operands.front();
    if (command == "help") {
        printLine(QString::fromUtf8(usageText));
        return 0;
    }
    if (command != "list" && command != "keep" && command != "dismiss" && command != "trash" && command != "toast"
        && command != "status" && command != "restore")
        return refuse(QStringLiteral("unknown command %1").arg(QString::fromLocal8Bit(command)));
    const std::size_t count = operands.size();
    if (command == "toast") {
        // keep-for takes its duration; every other action takes nothing.
        const bool withDuration = count > 1 && operands[1] == "keep-for";
        if (count < 2 || count != (withDuration ? 3u : 2u))
            return usage();
    } else {
        const bool needsFile = command != "list" && command != "status";
        if ((needsFile && count < 2) || (!needsFile && count > 1) || (command != "keep" && count > 2) || count > 3)
            return usage();
    }

    QCoreApplication app(argc, argv);
    QDBusInterface dowsel(QString::fromLatin1(dbusServiceName), QString::fromLatin1(dbusObjectPath),
                          QString::fromLatin1(dbusInterfaceName), QDBusConnection::sessionBus());
    if (!dowsel.isValid()) {
        printLine(QStringLiteral("dowsel: Dowsel is not running (start it with `dowsel`)"), stderr);
        return 1;
    }
    if (command == "list")
        return list(dowsel);
    if (command == "status")
        return status(dowsel);
    if (command == "toast")
        return toast(dowsel, QString::fromLocal8Bit(operands[1]), count > 2 ? QString::fromLocal8Bit(operands[2]) : QString());

    if (command == "restore")
        return restore(dowsel, operands[1]);

    const QByteArray path = absolutePath(operands[1].constData());
    const QString name = QFile::decodeName(path.mid(path.lastIndexOf('/') + 1));
    QDBusMessage reply;
    if (command == "keep") {
        const QString duration = count > 2 ? QString::fromLocal8Bit(operands[2]) : QString();
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
        if (!expiry.isValid()) {
            printLine(QStringLiteral("dowsel: Dowsel kept %1 but gave no readable expiry").arg(name), stderr);
            return 1;
        }
        printLine(QStringLiteral("Keeping %1 until %2 (%3)").arg(name, expiry.toString(QStringLiteral("yyyy-MM-dd HH:mm")), remaining(expiry)));
    } else if (command == "dismiss") {
        printLine(QStringLiteral("%1 stays where it is").arg(name));
    } else {
        printLine(QStringLiteral("Moved %1 to the Trash").arg(name));
    }
    return 0;
}

} // namespace dowsel
