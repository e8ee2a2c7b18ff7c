#pragma once

#include <QByteArray>

#include <vector>

namespace dowsel {

// The desktop's file handling: open a file with its default application, show files in the
// file manager. Paths are absolute, as exact bytes. Failures are the desktop's to show.
class Workspace {
public:
    virtual ~Workspace() = default;
    virtual void open(const QByteArray &path) = 0;
    // Selects the items in a file-manager window (org.freedesktop.FileManager1.ShowItems),
    // else opens their folder.
    virtual void reveal(const std::vector<QByteArray> &paths) = 0;
};

} // namespace dowsel
