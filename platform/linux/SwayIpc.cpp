#include "platform/linux/SwayIpc.h"

#include <QSocketNotifier>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <poll.h>
#include <utility>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace dowsel {

namespace {

constexpr char magic[] = {'i', '3', '-', 'i', 'p', 'c'};
constexpr std::uint32_t subscribe = 2;
constexpr std::uint32_t getOutputs = 3;
constexpr std::uint32_t windowEvent = 0x80000003;
constexpr std::size_t headerSize = sizeof(magic) + 2 * sizeof(std::uint32_t);
constexpr std::uint32_t largestReply = 1 << 20;

class Socket {
public:
    Socket() : m_fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {}
    ~Socket()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;
    int fd() const { return m_fd; }
    int release() { return std::exchange(m_fd, -1); }

private:
    int m_fd;
};

using Clock = std::chrono::steady_clock;

QByteArray message(std::uint32_t type, const QByteArray &payload)
{
    QByteArray bytes(magic, sizeof(magic));
    const std::uint32_t header[2] = {static_cast<std::uint32_t>(payload.size()), type}; // native byte order
    bytes.append(reinterpret_cast<const char *>(header), sizeof(header));
    bytes.append(payload);
    return bytes;
}

// Waits for `events` until `deadline`; false on time-out or error.
bool waitFor(int fd, short events, Clock::time_point deadline)
{
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0)
            return false;
        pollfd poller{fd, events, 0};
        const int ready = ::poll(&poller, 1, static_cast<int>(left));
        if (ready > 0)
            return (poller.revents & events) != 0;
        if (ready < 0 && errno != EINTR)
            return false;
    }
}

bool writeAll(int fd, const QByteArray &data, Clock::time_point deadline)
{
    qsizetype sent = 0;
    while (sent < data.size()) {
        const ssize_t n = ::send(fd, data.constData() + sent, static_cast<std::size_t>(data.size() - sent), MSG_NOSIGNAL);
        if (n > 0) {
            sent += n;
        } else if (n < 0 && (errno == EAGAIN || errno == EINTR)) {
            if (!waitFor(fd, POLLOUT, deadline))
                return false;
        } else {
            return false;
        }
    }
    return true;
}

bool readExactly(int fd, char *into, std::size_t size, Clock::time_point deadline)
{
    std::size_t got = 0;
    while (got < size) {
        const ssize_t n = ::recv(fd, into + got, size - got, 0);
        if (n > 0) {
            got += static_cast<std::size_t>(n);
        } else if (n < 0 && (errno == EAGAIN || errno == EINTR)) {
            if (!waitFor(fd, POLLIN, deadline))
                return false;
        } else {
            return false; // closed early, or an error
        }
    }
    return true;
}

} // namespace

std::optional<SwayOutput> focusedOutputInReply(const QByteArray &reply)
{
    const QJsonDocument document = QJsonDocument::fromJson(reply);
    for (const QJsonValue &value : document.array()) {
        const QJsonObject output = value.toObject();
        if (!output.value(QStringLiteral("focused")).toBool())
            continue;
        const QJsonObject rect = output.value(QStringLiteral("rect")).toObject();
        const QRect area(rect.value(QStringLiteral("x")).toInt(), rect.value(QStringLiteral("y")).toInt(),
                         rect.value(QStringLiteral("width")).toInt(), rect.value(QStringLiteral("height")).toInt());
        if (area.isEmpty())
            return std::nullopt;
        return SwayOutput{output.value(QStringLiteral("name")).toString(), area};
    }
    return std::nullopt;
}

namespace {

bool connectTo(const Socket &socket, const QByteArray &socketPath, Clock::time_point deadline)
{
    sockaddr_un address{};
    if (socket.fd() < 0 || socketPath.isEmpty()
        || static_cast<std::size_t>(socketPath.size()) >= sizeof(address.sun_path))
        return false;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, socketPath.constData(), static_cast<std::size_t>(socketPath.size()));
    if (::connect(socket.fd(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0)
        return true;
    return errno == EINPROGRESS && waitFor(socket.fd(), POLLOUT, deadline);
}

} // namespace

std::optional<SwayOutput> swayFocusedOutput(const QByteArray &socketPath, int timeoutMs)
{
    const Socket socket;
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    if (!connectTo(socket, socketPath, deadline) || !writeAll(socket.fd(), message(getOutputs, {}), deadline))
        return std::nullopt;

    char replyHeader[headerSize];
    if (!readExactly(socket.fd(), replyHeader, headerSize, deadline)
        || std::memcmp(replyHeader, magic, sizeof(magic)) != 0)
        return std::nullopt;
    std::uint32_t length = 0;
    std::uint32_t type = 0;
    std::memcpy(&length, replyHeader + sizeof(magic), sizeof(length));
    std::memcpy(&type, replyHeader + sizeof(magic) + sizeof(length), sizeof(type));
    if (type != getOutputs || length > largestReply)
        return std::nullopt;
    QByteArray payload(static_cast<qsizetype>(length), Qt::Uninitialized);
    if (!readExactly(socket.fd(), payload.data(), length, deadline))
        return std::nullopt;
    return focusedOutputInReply(payload);
}

SwayFocusWatcher::SwayFocusWatcher(const QByteArray &socketPath, QObject *parent) : QObject(parent)
{
    Socket socket;
    const auto deadline = Clock::now() + std::chrono::milliseconds(200);
    if (!connectTo(socket, socketPath, deadline)
        || !writeAll(socket.fd(), message(subscribe, QByteArrayLiteral("[\"window\"]")), deadline))
        return;
    m_fd = socket.release();
    m_notifier = new QSocketNotifier(m_fd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &SwayFocusWatcher::readEvents);
}

SwayFocusWatcher::~SwayFocusWatcher()
{
    disconnectFromSway();
}

void SwayFocusWatcher::disconnectFromSway()
{
    delete m_notifier;
    m_notifier = nullptr;
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
}

void SwayFocusWatcher::readEvents()
{
    char chunk[4096];
    for (;;) {
        const ssize_t n = ::recv(m_fd, chunk, sizeof(chunk), 0);
        if (n > 0) {
            m_buffer.append(chunk, n);
            continue;
        }
        if (n < 0 && (errno == EAGAIN || errno == EINTR))
            break;
        disconnectFromSway(); // sway went away
        return;
    }
    bool focused = false;
    while (static_cast<std::size_t>(m_buffer.size()) >= headerSize) {
        if (std::memcmp(m_buffer.constData(), magic, sizeof(magic)) != 0) {
            disconnectFromSway();
            return;
        }
        std::uint32_t length = 0;
        std::uint32_t type = 0;
        std::memcpy(&length, m_buffer.constData() + sizeof(magic), sizeof(length));
        std::memcpy(&type, m_buffer.constData() + sizeof(magic) + sizeof(length), sizeof(type));
        if (length > largestReply) {
            disconnectFromSway();
            return;
        }
        if (static_cast<std::size_t>(m_buffer.size()) < headerSize + length)
            break;
        const QByteArray payload = m_buffer.mid(static_cast<qsizetype>(headerSize), static_cast<qsizetype>(length));
        m_buffer.remove(0, static_cast<qsizetype>(headerSize + length));
        if (type == windowEvent
            && QJsonDocument::fromJson(payload).object().value(QStringLiteral("change")).toString()
                == QLatin1String("focus"))
            focused = true;
    }
    if (focused)
        Q_EMIT windowFocused();
}

} // namespace dowsel
