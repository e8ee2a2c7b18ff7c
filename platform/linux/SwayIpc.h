#pragma once

#include <QByteArray>
#include <QRect>
#include <QString>

#include <optional>

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

} // namespace dowsel
