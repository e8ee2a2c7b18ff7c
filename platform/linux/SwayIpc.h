#pragma once

#include <QByteArray>
#include <QObject>
#include <QRect>
#include <QString>

#include <optional>

class QSocketNotifier;

namespace dowsel {

struct SwayOutput {
    QString name;  // "HEADLESS-1", "DP-2"
    QRect rect;    // in the compositor's layout, which Xwayland's RandR outputs follow
};

// The output sway (or another compositor speaking its IPC) has focused: where the user works,
// which an Xwayland client cannot otherwise learn while a Wayland window has the keyboard.
// Asks the socket in `socketPath` (sway sets SWAYSOCK), waiting at most `timeoutMs`; no
// answer, or no output focused, gives nullopt.
std::optional<SwayOutput> swayFocusedOutput(const QByteArray &socketPath, int timeoutMs = 200);

// The focused output from a GET_OUTPUTS reply (a JSON array of outputs).
std::optional<SwayOutput> focusedOutputInReply(const QByteArray &reply);

// Tells when sway gives the keyboard to one of its windows (its IPC "window" events of
// change "focus"). An X11 client cannot learn otherwise that a Wayland window took the
// keyboard from it. Stays quiet when the socket cannot be reached or closes.
class SwayFocusWatcher : public QObject {
    Q_OBJECT
public:
    explicit SwayFocusWatcher(const QByteArray &socketPath, QObject *parent = nullptr);
    ~SwayFocusWatcher() override;

    bool isConnected() const { return m_fd >= 0; }

Q_SIGNALS:
    void windowFocused();

private:
    void readEvents();
    void disconnectFromSway();

    int m_fd = -1;
    QSocketNotifier *m_notifier = nullptr;
    QByteArray m_buffer;
};

} // namespace dowsel
