#include "ui/model/FileUri.h"

namespace dowsel {

QUrl fileUrlOf(const QByteArray &path)
{
    return QUrl::fromEncoded("file://" + path.toPercentEncoding("/"), QUrl::StrictMode);
}

QUrl parentFolderUrlOf(const QByteArray &path)
{
    QByteArray folder = path;
    while (folder.size() > 1 && folder.endsWith('/'))
        folder.chop(1);
    const qsizetype slash = folder.lastIndexOf('/');
    folder = slash <= 0 ? QByteArray("/") : folder.left(slash);
    return fileUrlOf(folder);
}

} // namespace dowsel
