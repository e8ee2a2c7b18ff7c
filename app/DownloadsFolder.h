#pragma once

#include "core/TrackedFile.h"

#include <QString>

#include <vector>

namespace dowsel {

// The user's Downloads folder: the XDG user-dirs value, else $HOME/Downloads. Computed once
// per process.
QByteArray downloadsPath();

// Names the start-up scan and the processor leave alone: hidden files and downloads still in
// progress.
bool isHiddenName(const QByteArray &name);
bool isPartialDownloadName(const QByteArray &name);

struct DownloadsListing {
    std::vector<DownloadFileSnapshot> snapshots;
    std::optional<QString> error; // set when the folder could not be listed
};

// Every visible, finished item directly in `folder`, read with lstat (symlinks as themselves).
DownloadsListing listDownloads(const QByteArray &folder);

} // namespace dowsel
