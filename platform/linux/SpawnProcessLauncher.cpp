#include "platform/linux/SpawnProcessLauncher.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace dowsel {

std::optional<QString> SpawnProcessLauncher::startDetached(const QByteArray &program,
                                                           const std::vector<QByteArray> &arguments)
{
    if (!program.startsWith('/') || ::access(program.constData(), X_OK) != 0)
        return QStringLiteral("cannot run ") + QString::fromLocal8Bit(program);
    std::vector<QByteArray> storage;
    storage.reserve(arguments.size() + 1);
    storage.push_back(program);
    storage.insert(storage.end(), arguments.begin(), arguments.end());
    std::vector<char *> argv;
    for (QByteArray &argument : storage)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    const pid_t child = ::fork();
    if (child < 0)
        return QString::fromLocal8Bit(std::strerror(errno));
    if (child == 0) {
        ::setsid();
        if (::fork() == 0) {
            ::execv(argv[0], argv.data());
            ::_exit(127);
        }
        ::_exit(0);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return std::nullopt;
}

} // namespace dowsel
