#pragma once

#include <QString>

#include <optional>

namespace dowsel {

class Preferences;

namespace prefkeys {
// True once the autostart entry was written: a missing entry then means the user removed it.
inline const QString loginItemRegistered = QStringLiteral("loginItemRegistered");
} // namespace prefkeys

// "Exec=" value for one program path, quoted and escaped as the Desktop Entry specification
// asks: in double quotes, with `"`, `` ` ``, `$` and `\` escaped for the quoting and the
// backslashes escaped again for the string value; `%` doubled so it is no field code.
QString desktopExecValue(const QString &programPath);
// The program of an "Exec=" value (its first argument, unquoted and unescaped); empty when
// the value is malformed.
QString desktopExecProgram(const QString &execValue);

// Starts Dowsel at login through an XDG autostart entry ($XDG_CONFIG_HOME/autostart/dowsel.desktop),
// with the contract of a login item: Dowsel adds it once, at the first completed onboarding,
// and never turns it back on after the user turned it off. The desktops turn an entry off in
// one of three ways, all respected: "Hidden=true" (KDE, XFCE), "X-GNOME-Autostart-enabled=false"
// (GNOME) or deleting the file (GNOME Tweaks); the preference "loginItemRegistered" remembers
// that the entry was written, so a deleted one stays deleted.
class LoginItem {
public:
    enum class State { absent, enabled, disabled };

    LoginItem(Preferences &preferences, QString executablePath, QString entryPath = defaultPath());

    static QString defaultPath();
    const QString &entryPath() const { return m_entryPath; }

    // What the entry on disk says now.
    State state() const;
    bool isEnabled() const { return state() == State::enabled; }

    // At core start, once onboarding is complete, and when onboarding completes: the first
    // time writes the entry; after that only keeps an enabled entry pointing at the running
    // binary. A disabled or deleted entry is left as the user left it. Returns the error text
    // on failure.
    std::optional<QString> registerAtStart();

    // The settings' toggle: on writes an enabled entry for the running binary; off marks the
    // entry hidden the desktops' way (the file stays, so the choice is visible to them too).
    std::optional<QString> setEnabled(bool enabled);

private:
    std::optional<QString> write(bool enabled);

    Preferences &m_prefs;
    QString m_executablePath;
    QString m_entryPath;
};

} // namespace dowsel
