#pragma once

namespace dowsel {

// Runs Dowsel: checks for a display, starts the tray icon and the services, and returns the
// exit status when the app quits (tray menu, SIGTERM or SIGINT).
int runApplication(int argc, char *argv[]);

} // namespace dowsel
