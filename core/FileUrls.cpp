#include "core/FileUrls.h"

namespace dowsel {

QByteArray fileUrl(const QByteArray &absolutePath)
{
    return "file://" + absolutePath.toPercentEncoding("/");
}

FileClipboardPayload fileClipboardPayload(const std::vector<QByteArray> &absolutePaths)
{
    FileClipboardPayload payload;
    payload.gnomeCopiedFiles = "copy";
    for (const QByteArray &path : absolutePaths) {
        const QByteArray url = fileUrl(path);
        payload.uriList += url + "\r\n";
        payload.gnomeCopiedFiles += '\n' + url;
    }
    return payload;
}

} // namespace dowsel
