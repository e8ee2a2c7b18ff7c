#pragma once

#include <QByteArray>

#include <vector>

namespace dowsel {

// The desktop clipboard, as file managers read it: replaces its content with the files at
// `paths` (absolute, exact bytes) so that a paste in a file manager copies them. The payload
// is built by fileClipboardPayload (core/FileUrls.h).
class Clipboard {
public:
    virtual ~Clipboard() = default;
    virtual void setFiles(const std::vector<QByteArray> &paths) = 0;
};

} // namespace dowsel
