#pragma once

#include <QByteArray>
#include <QUrl>

namespace dowsel {

// file:// address of a path, built from its exact bytes, so names that are not valid UTF-8
// still reach the file manager intact.
QUrl fileUrlOf(const QByteArray &path);
// The folder that holds `path`.
QUrl parentFolderUrlOf(const QByteArray &path);

} // namespace dowsel
