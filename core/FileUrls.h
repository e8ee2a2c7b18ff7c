#pragma once

#include <QByteArray>

#include <vector>

namespace dowsel {

// "file:///home/me/a%20b.pdf": every byte outside the unreserved set percent-encoded, so a
// name that is not valid UTF-8 survives the trip to another program.
QByteArray fileUrl(const QByteArray &absolutePath);

// The clipboard formats that file managers paste from.
struct FileClipboardPayload {
    QByteArray uriList;          // text/uri-list: one URL per line, CRLF-terminated
    QByteArray gnomeCopiedFiles; // x-special/gnome-copied-files: "copy", then one URL per line
};
FileClipboardPayload fileClipboardPayload(const std::vector<QByteArray> &absolutePaths);

} // namespace dowsel
