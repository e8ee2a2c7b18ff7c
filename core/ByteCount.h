#pragma once

#include <QString>

namespace dowsel {

// File sizes the way file managers show them, in decimal units: "Zero KB", "1 byte",
// "999 bytes", "1 KB", "12.3 MB", "1.23 GB".
QString formatByteCount(qint64 bytes);

} // namespace dowsel
