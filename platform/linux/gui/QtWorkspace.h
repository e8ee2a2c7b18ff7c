#pragma once

#include "platform/Workspace.h"

#include <QDBusConnection>
#include <QUrl>

#include <functional>

namespace dowsel {

// Opens files with the desktop's default application and shows them in the file manager
// through org.freedesktop.FileManager1; without a file manager on the bus, their folders are
// opened instead.
class QtWorkspace final : public Workspace {
public:
    using UrlOpener = std::function<bool(const QUrl &)>;

    explicit QtWorkspace(QDBusConnection bus = QDBusConnection::sessionBus(), UrlOpener openUrl = {});

    void open(const QByteArray &path) override;
    void reveal(const std::vector<QByteArray> &paths) override;

    // The file URL that names exactly `path`: from the file name when it is valid UTF-8, else
    // from its bytes percent-encoded, so that another program opens the same file.
    static QUrl urlForPath(const QByteArray &path);

private:
    void openFolders(const std::vector<QByteArray> &paths);

    QDBusConnection m_bus;
    UrlOpener m_openUrl;
};

} // namespace dowsel
