#include "platform/linux/gui/QtClipboard.h"

#include "core/FileUrls.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace dowsel {

void QtClipboard::setFiles(const std::vector<QByteArray> &paths)
{
    const FileClipboardPayload payload = fileClipboardPayload(paths);
    auto *data = new QMimeData;
    data->setData(QStringLiteral("text/uri-list"), payload.uriList);
    data->setData(QStringLiteral("x-special/gnome-copied-files"), payload.gnomeCopiedFiles);
    QGuiApplication::clipboard()->setMimeData(data); // the clipboard takes ownership
}

} // namespace dowsel
