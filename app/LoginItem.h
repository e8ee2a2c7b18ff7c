#pragma once

#include <QString>

#include <optional>

namespace dowsel {

// Starts Dowsel at login through an XDG autostart entry ($XDG_CONFIG_HOME/autostart/dowsel.desktop).
// Writing it again at every start keeps the Exec line pointing at the binary in use.
// Returns the error text on failure.
std::optional<QString> registerLoginItem(const QString &executablePath);
QString loginItemPath();

} // namespace dowsel
