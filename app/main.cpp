#include "app/gui/Application.h"

int main(int argc, char *argv[])
{
    return dowsel::runApplication(argc, argv);
}
