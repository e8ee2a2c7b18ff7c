#include "ui/FileManager.h"

#include "ui/model/FileUri.h"
#include "ui/model/PopoverLists.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>

namespace dowsel {

namespace {

void openParentFolder(const QByteArray &path)
{
    if (!QDesktopServices::openUrl(parentFolderUrlOf(path)))
        qCDebug(lcPopover).noquote() << "reveal: could not open the folder of " + displayText(path);
}

} // namespace

void revealInFileManager(const QByteArray &path)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        openParentFolder(path);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QString::fromLatin1(fileUrlOf(path).toEncoded())} << QString();
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), QCoreApplication::instance());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [path](QDBusPendingCallWatcher *finished) {
        if (finished->isError()) {
            qCDebug(lcPopover).noquote() << "reveal: no file manager answered (" + finished->error().message()
                                                + "), opening the folder";
            openParentFolder(path);
        }
        finished->deleteLater();
    });
}

} // namespace dowsel
