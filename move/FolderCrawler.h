#pragma once

#include "platform/FolderWatcher.h"

#include <QByteArrayView>

#include <vector>

namespace dowsel {

// True for a folder name whose whole subtree holds no destination: hidden folders,
// dependency and build trees, and package folders such as "Tool.app".
bool isSkippedFolderName(QByteArrayView name);

// Every folder under `homePath` that a download could be moved into, parents before their
// children. Skipped subtrees are never entered, and neither is ~/Library; symbolic links are
// never followed and other file systems mounted below home are listed but not entered.
// Folders that cannot be read are listed without their contents.
std::vector<FolderEntry> crawlFolders(const QByteArray &homePath);

} // namespace dowsel
