#pragma once

#include "platform/Executor.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace dowsel {

// "a.pdf" -> "a (2).pdf", a folder "x" -> "x (2)". The name is shortened, at a character
// boundary, when the number would push it past the 255-byte limit.
QByteArray numberedName(const QByteArray &name, int number);
// The first name in `folder` that nothing occupies: `name`, then numbered names from 2 up.
QByteArray freeTargetPath(const QByteArray &folder, const QByteArray &name);

struct MoveResult {
    QByteArray source;
    QByteArray target;   // where the item went, or was meant to go when it failed
    QString error;       // empty on success
    bool crossDevice = false;
    bool placed = false; // the item is at `target` (even if the original could not be removed)
    bool moved() const { return placed && error.isEmpty(); }
};

// Bytes copied so far of one item and its total size. Returning false stops the copy: the
// partial copy is removed and the source is left alone.
using CopyProgress = std::function<bool(const QByteArray &source, std::int64_t copied, std::int64_t total)>;

// Renames `source` into `folder` under a free name, never replacing anything there. Fails
// with crossDevice set when the two are on different file systems.
MoveResult moveWithinDevice(const QByteArray &source, const QByteArray &folder);
// Copies `source` (file, folder or link) to a hidden temporary name in `folder`, flushes it to
// disk, renames it to a free name and only then removes the source. Whatever fails, the
// source stays and no partial copy is left behind.
MoveResult moveAcrossDevices(const QByteArray &source, const QByteArray &folder, const CopyProgress &progress = {});

// Moves the files of a toast: same-device items at once, the others one after another on a
// background executor. Failures are printed as one line each.
class FileMover {
public:
    using Reveal = std::function<void(const std::vector<QByteArray> &targets)>;

    FileMover(Executor &background, Executor &main) : m_background(background), m_main(main) {}

    // `reveal` runs on the main executor: once with the same-device targets if any moved,
    // and once more with the cross-device targets after the background copies.
    void move(const std::vector<QByteArray> &sources, const QByteArray &folder, Reveal reveal);
    void setProgressObserver(CopyProgress observer) { m_progress = std::move(observer); }
    // Told on the main executor of every item that was not moved (or only copied), after the
    // toast has long gone for a copy to another drive.
    using Failure = std::function<void(const MoveResult &result)>;
    void setFailureObserver(Failure observer) { m_failure = std::move(observer); }

private:
    void reportFailure(const MoveResult &result);

    Executor &m_background;
    Executor &m_main;
    CopyProgress m_progress;
    Failure m_failure;
};

} // namespace dowsel
