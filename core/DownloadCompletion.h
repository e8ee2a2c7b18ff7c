#pragma once

#include "core/PosixFiles.h"

#include <QByteArray>

#include <optional>

namespace dowsel {

// Whether a download's writer is done with it. Browsers and downloaders write under the
// final name more often than not: curl and wget in place; Firefox with an empty placeholder
// under the final name and the data in "XXXX.ext.part" beside it, renamed over the
// placeholder at the end; aria2 in place with "name.aria2" beside the file until it is done.
// A file is offered once its writer has closed it and nothing touched it for `quietPeriod`,
// and no companion file says that more is coming.
namespace completion {

// How long a file written in place stays untouched after its writer closed it before it is
// offered.
constexpr double quietPeriod = 0.5;

// The sibling that shows the file at `path` (with `status`) is still being downloaded:
// "name.aria2", or for an empty file a Firefox ".part" file of the same extension. None when
// nothing says so.
std::optional<QByteArray> pendingCompanion(const QByteArray &path, const FileStatus &status);

// Names whose appearance or disappearance may finish a held download.
bool isCompanionName(const QByteArray &name);

} // namespace completion
} // namespace dowsel
