#pragma once

namespace dowsel {

// `dowsel list | keep FILE [DURATION] | dismiss FILE | trash FILE`: talks to the running
// Dowsel over the session bus. Returns -1 when argv names no subcommand, else the exit status.
int runCommandLine(int argc, char *argv[]);

} // namespace dowsel
