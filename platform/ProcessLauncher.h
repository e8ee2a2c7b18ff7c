#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace dowsel {

// Starts a helper program (a mail composer, a Bluetooth sender) and lets it run on its own.
// The arguments reach the program byte for byte: no shell ever sees them.
class ProcessLauncher {
public:
    virtual ~ProcessLauncher() = default;
    // `program` is an absolute path. Returns nothing once started, else the reason.
    virtual std::optional<QString> startDetached(const QByteArray &program,
                                                 const std::vector<QByteArray> &arguments) = 0;
};

} // namespace dowsel
