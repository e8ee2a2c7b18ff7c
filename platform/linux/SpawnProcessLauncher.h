#pragma once

#include "platform/ProcessLauncher.h"

namespace dowsel {

// fork + execv, detached by a second fork so that no child is left to reap; the argument
// vector is built before forking, so the children only call async-signal-safe functions.
class SpawnProcessLauncher final : public ProcessLauncher {
public:
    std::optional<QString> startDetached(const QByteArray &program, const std::vector<QByteArray> &arguments) override;
};

} // namespace dowsel
