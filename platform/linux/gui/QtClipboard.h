#pragma once

#include "platform/Clipboard.h"

namespace dowsel {

// The desktop clipboard through QClipboard, in the formats file managers paste from
// (text/uri-list and x-special/gnome-copied-files), with the path bytes kept exactly.
class QtClipboard final : public Clipboard {
public:
    void setFiles(const std::vector<QByteArray> &paths) override;
};

} // namespace dowsel
