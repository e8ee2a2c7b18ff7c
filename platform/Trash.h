#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace dowsel {

// Moves files to the desktop Trash. The call blocks, so run it on a worker, never on the
// main thread. Returns nothing on success, else the reason it failed.
class Trash {
public:
    virtual ~Trash() = default;
    virtual std::optional<QString> moveToTrash(const QByteArray &path) = 0;
};

} // namespace dowsel
