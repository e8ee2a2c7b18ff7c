#include "platform/linux/gui/QtWorkspace.h"

#include "core/Logging.h"
#include "core/TrackedFile.h"
#include "core/FileUrls.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFile>
#include <QStringList>

#include <algorithm>

namespace dowsel {

namespace {

QByteArray parentFolder(const QByteArray &path)
{
    const qsizetype slash = path.lastIndexOf('/');
    return slash <= 0 ? QByteArray("/") : path.left(slash);
}

} // namespace

QtWorkspace::QtWorkspace(QDBusConnection bus, UrlOpener openUrl)
    : m_bus(std::move(bus)), m_openUrl(openUrl ? std::move(openUrl) : UrlOpener(&QDesktopServices::openUrl))
{
}

QUrl QtWorkspace::urlForPath(const QByteArray &path)
{
    const QString name = QFile::decodeName(path);
    if (QFile::encodeName(name) == path)
        return QUrl::fromLocalFile(name);
    return QUrl::fromEncoded(fileUrl(path), QUrl::StrictMode);
}

void QtWorkspace::open(const QByteArray &path)
{
    if (!m_openUrl(urlForPath(path)))
        qCDebug(lcToast).noquote() << "Workspace.open: no application opened " + displayText(path);
}

void QtWorkspace::reveal(const std::vector<QByteArray> &paths)
{
    if (paths.empty())
        return;
    if (!m_bus.isConnected()) {
        openFolders(paths);
        return;
    }
    QStringList uris;
    for (const QByteArray &path : paths)
        uris << QString::fromLatin1(fileUrl(path));
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << uris << QString();
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [this, paths](QDBusPendingCallWatcher *finished) {
                         finished->deleteLater();
                         if (!finished->isError())
                             return;
                         qCDebug(lcToast).noquote() << "Workspace.reveal: no file manager on the bus ("
                                                               + finished->error().message() + "), opening folders";
                         openFolders(paths);
                     });
}

void QtWorkspace::openFolders(const std::vector<QByteArray> &paths)
{
    std::vector<QByteArray> folders;
    for (const QByteArray &path : paths) {
        const QByteArray folder = parentFolder(path);
        if (std::find(folders.begin(), folders.end(), folder) == folders.end())
            folders.push_back(folder);
    }
    for (const QByteArray &folder : folders)
        open(folder);
}

} // namespace dowsel
