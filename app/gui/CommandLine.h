#pragma once

namespace dowsel {

// `dowsel list | keep FILE [DURATION] | dismiss FILE | trash FILE`: talks to the running
// Dowsel over the session bus; `--help` and `--version` answer at once. Returns -1 when argv
// holds nothing at all (start Dowsel), else the exit status: 2 for an unknown option or
// command, which never starts the app.
int runCommandLine(int argc, char *argv[]);

} // namespace dowsel
