#pragma once

#include <cstring>
#include <string>

namespace dowsel::bench {

// Takes "--name" or "--name=value" out of argv before Google Benchmark sees the rest.
// Returns whether it was there; `value` gets the text after '=' when given.
inline bool takeFlag(int &argc, char **argv, const char *name, std::string *value = nullptr)
{
    const std::size_t length = std::strlen(name);
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], name, length) != 0 || (argv[i][length] != '\0' && argv[i][length] != '='))
            continue;
        if (value && argv[i][length] == '=')
            *value = argv[i] + length + 1;
        for (int j = i; j + 1 < argc; ++j)
            argv[j] = argv[j + 1];
        --argc;
        return true;
    }
    return false;
}

} // namespace dowsel::bench
