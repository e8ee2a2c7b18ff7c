#include "app/gui/Application.h"

#include <cstdio>
#include <cstring>

int main(int argc, char *argv[])
{
    // Answered before anything else starts, so packaging checks need no display and no bus.
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        std::printf("dowsel %s\n", DOWSEL_VERSION);
        return 0;
    }
    return dowsel::runApplication(argc, argv);
}
