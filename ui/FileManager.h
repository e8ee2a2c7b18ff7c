#pragma once

#include <QByteArray>

namespace dowsel {

// Shows the file selected in the desktop's file manager (org.freedesktop.FileManager1
// ShowItems); when no file manager answers, opens the folder that holds it. Returns at once.
void revealInFileManager(const QByteArray &path);

} // namespace dowsel
