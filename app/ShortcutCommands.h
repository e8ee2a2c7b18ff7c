#pragma once

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace dowsel {

namespace prefkeys {
// The user says the `dowsel toast` commands are bound in the desktop's keyboard settings.
inline const QString shortcutCommandsBound = QStringLiteral("shortcutCommandsBound");
// The toast actions ("keep", "dismiss") that reached Dowsel from outside a terminal, as a key
// binding of the desktop sends them.
inline const QString shortcutCommandsSeen = QStringLiteral("shortcutCommandsSeen");
} // namespace prefkeys

// How the desktop's GlobalShortcuts portal answered Dowsel's request for its shortcuts.
enum class PortalAnswer {
    waiting, // asked, no answer yet
    bound, // the shortcuts have keys and reach Dowsel
    unassigned, // the portal took them but gave them no keys yet: the user assigns them
    missing, // no portal on this desktop
    declined, // the user (or the desktop) refused them
};

// What carries the shortcuts to Dowsel: X11 key grabs, the desktop's portal, or `dowsel toast`
// commands that the user binds in the desktop's keyboard settings.
enum class ShortcutRoute { keyGrabs, portal, commands };

// A command the user can bind to a key where the desktop does not bind Dowsel's shortcuts.
struct ToastCommand {
    QString action; // the first argument after "toast": "keep", "keep-for", "dismiss"
    QString arguments; // everything after the program: "toast keep-for 2h"
    QString usualKeys; // the combination Dowsel's own shortcut uses, as a suggestion
    QString description; // what it does, translated
};

// Every toast command, in the order of the toast's shortcuts.
std::vector<ToastCommand> toastCommands();

// The program part of a command line to bind: "dowsel" when the search path finds this very
// executable under that name (`pathDowsel`, empty when it finds none), else the executable's
// absolute path, quoted when it holds characters a desktop would split or expand.
QString commandProgram(const QString &executablePath, const QString &pathDowsel);
// The same for the running process.
QString currentCommandProgram();
QString toastCommandLine(const QString &program, const ToastCommand &command);

// Where the desktop named by XDG_CURRENT_DESKTOP ("GNOME", "ubuntu:GNOME", "KDE", "sway")
// binds a command to a key; a general line for other desktops. Translated.
QString commandBindingPlace(const QString &desktop);

// Whether process `pid` has a controlling terminal; nothing when it cannot be read (gone, or
// no /proc). A command typed in a terminal has one; one a desktop runs for a key has none.
std::optional<bool> processHasTerminal(qint64 pid);

} // namespace dowsel
