#include "platform/linux/SwayIpc.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

using namespace dowsel;

namespace {

constexpr char outputs[] = R"([
  {"name": "eDP-1", "active": true, "focused": false, "rect": {"x": 0, "y": 0, "width": 1920, "height": 1080}},
  {"name": "DP-2", "active": true, "focused": true, "rect": {"x": 1920, "y": -200, "width": 2560, "height": 1440}}
])";

// Answers one client on a Unix socket as `answer` says, the way sway's IPC would.
class FakeSway {
public:
    using Answer = std::function<void(int client, std::uint32_t type)>;

    explicit FakeSway(Answer answer)
    {
        m_path = QFile::encodeName(m_dir.path()) + "/sway-ipc.sock";
        m_listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, m_path.constData(), sizeof(address.sun_path) - 1);
        EXPECT_EQ(::bind(m_listener, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
        EXPECT_EQ(::listen(m_listener, 1), 0);
        m_thread = std::thread([this, answer = std::move(answer)] {
            const int client = ::accept(m_listener, nullptr, nullptr);
            if (client < 0)
                return;
            char header[14];
            std::uint32_t type = 0;
            if (::recv(client, header, sizeof(header), MSG_WAITALL) == sizeof(header)) {
                m_requestMagic.assign(header, 6);
                std::memcpy(&type, header + 10, sizeof(type));
            }
            std::uint32_t length = 0;
            std::memcpy(&length, header + 6, sizeof(length));
            if (length > 0 && length < 4096) {
                requestPayload.resize(length);
                ::recv(client, requestPayload.data(), length, MSG_WAITALL);
            }
            answer(client, type);
            ::close(client);
        });
    }
    ~FakeSway()
    {
        finish();
        ::close(m_listener);
    }
    // Waits for the client to be answered (or gives up on one that never came).
    void finish()
    {
        if (!m_thread.joinable())
            return;
        ::shutdown(m_listener, SHUT_RDWR);
        m_thread.join();
    }
    const QByteArray &path() const { return m_path; }
    // After finish().
    std::string requestMagic() const { return m_requestMagic; }
    // What the client sent after the header; after finish().
    QByteArray requestPayload;

    static void reply(int client, std::uint32_t type, const QByteArray &payload)
    {
        QByteArray message("i3-ipc");
        const std::uint32_t header[2] = {static_cast<std::uint32_t>(payload.size()), type};
        message.append(reinterpret_cast<const char *>(header), sizeof(header));
        message.append(payload);
        ASSERT_EQ(::send(client, message.constData(), static_cast<std::size_t>(message.size()), MSG_NOSIGNAL),
                  message.size());
    }

private:
    QTemporaryDir m_dir;
    QByteArray m_path;
    int m_listener = -1;
    std::string m_requestMagic;
    std::thread m_thread;
};

TEST(SwayIpc, TheFocusedOutputIsReadFromTheOutputsList)
{
    const std::optional<SwayOutput> focused = focusedOutputInReply(outputs);
    ASSERT_TRUE(focused);
    EXPECT_EQ(focused->name, QStringLiteral("DP-2"));
    EXPECT_EQ(focused->rect, QRect(1920, -200, 2560, 1440));

    EXPECT_FALSE(focusedOutputInReply(R"([{"name": "eDP-1", "focused": false, "rect": {"width": 10, "height": 10}}])"));
    EXPECT_FALSE(focusedOutputInReply(R"([{"name": "HEADLESS-1", "focused": true, "rect": {}}])"))
        << "an output without an area places nothing";
    EXPECT_FALSE(focusedOutputInReply("not json"));
    EXPECT_FALSE(focusedOutputInReply(R"({"focused": true})"));
}

TEST(SwayIpc, AsksForTheOutputsAndReadsTheAnswer)
{
    FakeSway sway([](int client, std::uint32_t type) { FakeSway::reply(client, type, outputs); });
    const std::optional<SwayOutput> focused = swayFocusedOutput(sway.path());
    ASSERT_TRUE(focused);
    EXPECT_EQ(focused->name, QStringLiteral("DP-2"));
    sway.finish();
    EXPECT_EQ(sway.requestMagic(), "i3-ipc");
}

TEST(SwayIpc, AWrongSilentOrMissingCompositorGivesNothing)
{
    {
        FakeSway wrongType([](int client, std::uint32_t) { FakeSway::reply(client, 0, outputs); });
        EXPECT_FALSE(swayFocusedOutput(wrongType.path())) << "a reply to another request";
    }
    {
        FakeSway cutShort([](int client, std::uint32_t type) {
            QByteArray message("i3-ipc");
            const std::uint32_t header[2] = {4096, type};
            message.append(reinterpret_cast<const char *>(header), sizeof(header));
            message.append("[{\"focused\"");
            ::send(client, message.constData(), static_cast<std::size_t>(message.size()), MSG_NOSIGNAL);
        });
        EXPECT_FALSE(swayFocusedOutput(cutShort.path())) << "a reply cut short";
    }
    {
        FakeSway silent([](int, std::uint32_t) { std::this_thread::sleep_for(std::chrono::milliseconds(300)); });
        EXPECT_FALSE(swayFocusedOutput(silent.path(), 50)) << "no answer in time";
    }
    EXPECT_FALSE(swayFocusedOutput("/nonexistent/sway-ipc.sock"));
    EXPECT_FALSE(swayFocusedOutput(""));
    EXPECT_FALSE(swayFocusedOutput(QByteArray(200, 'x'))) << "longer than a socket path can be";
}

TEST(SwayIpc, TheWatcherSubscribesToWindowEventsAndTellsOfFocusChangesOnly)
{
    std::atomic<bool> release{false};
    FakeSway sway([&release](int client, std::uint32_t type) {
        ASSERT_EQ(type, 2u); // SUBSCRIBE
        FakeSway::reply(client, 2, R"({"success": true})");
        FakeSway::reply(client, 0x80000003, R"({"change": "title", "container": {}})");
        // A focus event, arriving in two pieces.
        QByteArray focus("i3-ipc");
        const QByteArray payload(R"({"change": "focus", "container": {"id": 4}})");
        const std::uint32_t header[2] = {static_cast<std::uint32_t>(payload.size()), 0x80000003};
        focus.append(reinterpret_cast<const char *>(header), sizeof(header));
        focus.append(payload);
        ::send(client, focus.constData(), 9, MSG_NOSIGNAL);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        ::send(client, focus.constData() + 9, static_cast<std::size_t>(focus.size() - 9), MSG_NOSIGNAL);
        while (!release)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    });
    SwayFocusWatcher watcher(sway.path());
    ASSERT_TRUE(watcher.isConnected());
    int focused = 0;
    QObject::connect(&watcher, &SwayFocusWatcher::windowFocused, [&focused] { ++focused; });
    QElapsedTimer waited;
    waited.start();
    while (focused == 0 && waited.elapsed() < 2000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    EXPECT_EQ(focused, 1) << "the title change is no focus change";
    release = true;
    sway.finish();
    EXPECT_EQ(sway.requestPayload, QByteArray(R"(["window"])"));

    // sway gone: the watcher stops listening, quietly.
    waited.restart();
    while (watcher.isConnected() && waited.elapsed() < 2000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    EXPECT_FALSE(watcher.isConnected());
    EXPECT_EQ(focused, 1);

    EXPECT_FALSE(SwayFocusWatcher("/nonexistent/sway-ipc.sock").isConnected());
}

} // namespace
