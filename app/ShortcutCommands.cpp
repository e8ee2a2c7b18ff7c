#include "app/ShortcutCommands.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace dowsel {

std::vector<ToastCommand> toastCommands()
{
    return {
        {QStringLiteral("keep"), QStringLiteral("toast keep"), QStringLiteral("Super+Shift+T"),
            QCoreApplication::translate("ShortcutCommands", "Keep it as a temporary file")},
        {QStringLiteral("keep-for"), QStringLiteral("toast keep-for 2h"), QString(),
            QCoreApplication::translate("ShortcutCommands", "Keep it for two hours (any duration Dowsel reads)")},
        {QStringLiteral("time"), QStringLiteral("toast time"), QStringLiteral("Super+Shift+Alt+T"),
            QCoreApplication::translate("ShortcutCommands", "Type how long to keep it")},
        {QStringLiteral("move"), QStringLiteral("toast move"), QStringLiteral("Super+Shift+M"),
            QCoreApplication::translate("ShortcutCommands", "Move it to a folder")},
        {QStringLiteral("more"), QStringLiteral("toast more"), QStringLiteral("Super+Shift+."),
            QCoreApplication::translate("ShortcutCommands", "The More menu")},
        {QStringLiteral("open"), QStringLiteral("toast open"), QStringLiteral("Super+Shift+O"),
            QCoreApplication::translate("ShortcutCommands", "Open it")},
        {QStringLiteral("copy"), QStringLiteral("toast copy"), QStringLiteral("Super+Shift+C"),
            QCoreApplication::translate("ShortcutCommands", "Copy it")},
        {QStringLiteral("share"), QStringLiteral("toast share"), QStringLiteral("Super+Shift+S"),
            QCoreApplication::translate("ShortcutCommands", "Share it")},
        {QStringLiteral("delete"), QStringLiteral("toast delete"), QStringLiteral("Super+Shift+Backspace"),
            QCoreApplication::translate("ShortcutCommands", "Move it to the Trash")},
        {QStringLiteral("trash-copy"), QStringLiteral("toast trash-copy"), QStringLiteral("Super+Shift+Alt+Backspace"),
            QCoreApplication::translate("ShortcutCommands", "When it is a copy of a file already there, move the copy to the Trash")},
        // Escape alone would be taken from every application.
        {QStringLiteral("dismiss"), QStringLiteral("toast dismiss"), QStringLiteral("Super+Shift+Escape"),
            QCoreApplication::translate("ShortcutCommands", "Dismiss the toast; the file stays")},
    };
}

QString commandProgram(const QString &executablePath, const QString &pathDowsel)
{
    if (!pathDowsel.isEmpty() && !executablePath.isEmpty()
        && QFileInfo(pathDowsel).canonicalFilePath() == QFileInfo(executablePath).canonicalFilePath())
        return QStringLiteral("dowsel");
    QString path = QFileInfo(executablePath).absoluteFilePath();
    if (path.isEmpty())
        return QStringLiteral("dowsel");
    static const QString plain = QStringLiteral(
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+,:@");
    bool needsQuotes = false;
    for (const QChar c : path)
        needsQuotes = needsQuotes || !plain.contains(c);
    if (!needsQuotes)
        return path;
    // Single quotes keep everything literal; a single quote itself closes, escapes and reopens.
    path.replace(QLatin1Char('\''), QStringLiteral("'\\''"));
    return QLatin1Char('\'') + path + QLatin1Char('\'');
}

QString currentCommandProgram()
{
    return commandProgram(QCoreApplication::applicationFilePath(),
                          QStandardPaths::findExecutable(QStringLiteral("dowsel")));
}

QString toastCommandLine(const QString &program, const ToastCommand &command)
{
    return program + QLatin1Char(' ') + command.arguments;
}

QString commandBindingPlace(const QString &desktop)
{
    const QStringList names = desktop.toLower().split(QLatin1Char(':'), Qt::SkipEmptyParts);
    const auto is = [&names](QLatin1StringView name) {
        for (const QString &entry : names) {
            if (entry.trimmed() == name || entry.trimmed().startsWith(name + QLatin1Char('-')))
                return true;
        }
        return false;
    };
    if (is(QLatin1StringView("gnome")) || is(QLatin1StringView("unity")))
        return QCoreApplication::translate("ShortcutCommands",
            "In GNOME: Settings → Keyboard → View and Customize Shortcuts → Custom Shortcuts, add one for each "
            "command.");
    if (is(QLatin1StringView("kde")))
        return QCoreApplication::translate("ShortcutCommands",
            "In KDE Plasma: System Settings → Shortcuts → Add New → Command or Script, one for each command.");
    if (is(QLatin1StringView("sway")))
        return QCoreApplication::translate("ShortcutCommands",
            "In sway: one line per command in ~/.config/sway/config, as “bindsym $mod+Shift+t exec dowsel toast "
            "keep”, then reload sway.");
    return QCoreApplication::translate("ShortcutCommands",
        "In your desktop's keyboard settings, add a custom shortcut that runs each command.");
}

std::optional<bool> processHasTerminal(qint64 pid)
{
    if (pid <= 0)
        return std::nullopt;
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray line = stat.readAll();
    // "pid (comm) state ppid pgrp session tty_nr ...": the name may hold spaces and
    // parentheses, so the fields are counted from its last ')'.
    const qsizetype close = line.lastIndexOf(')');
    if (close < 0)
        return std::nullopt;
    const QList<QByteArray> fields = line.mid(close + 1).simplified().split(' ');
    if (fields.size() < 5)
        return std::nullopt;
    bool ok = false;
    const qint64 tty = fields.at(4).toLongLong(&ok);
    if (!ok)
        return std::nullopt;
    return tty != 0;
}

} // namespace dowsel
