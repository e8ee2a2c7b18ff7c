#include "app/gui/SignalHandler.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace dowsel {

namespace {
int g_fds[2] = {-1, -1};

void onSignal(int signalNumber)
{
    const int saved = errno;
    const unsigned char byte = static_cast<unsigned char>(signalNumber);
    [[maybe_unused]] auto n = ::write(g_fds[0], &byte, 1);
    errno = saved;
}
} // namespace

SignalHandler::SignalHandler(std::initializer_list<int> signalNumbers, QObject *parent) : QObject(parent)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, g_fds) != 0)
        return;
    m_notifier = new QSocketNotifier(g_fds[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        unsigned char byte = 0;
        while (::read(g_fds[1], &byte, 1) == 1)
            Q_EMIT received(byte);
    });
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int signalNumber : signalNumbers)
        ::sigaction(signalNumber, &action, nullptr);
}

SignalHandler::~SignalHandler()
{
    delete m_notifier;
    ::close(g_fds[0]);
    ::close(g_fds[1]);
    g_fds[0] = g_fds[1] = -1;
}

} // namespace dowsel
