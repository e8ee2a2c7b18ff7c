#pragma once

#include "core/QtExecutor.h"
#include "core/WorkerThread.h"
#include "ui/ThumbnailCache.h"

namespace dowsel {

// Pictures from the shared freedesktop thumbnail cache (~/.cache/thumbnails), when an up to
// date one is there; else, for images, a scaled read with Qt's image readers. Everything
// runs on a worker of its own; results come back on the main thread.
class FreedesktopThumbnailLoader final : public ThumbnailLoader {
public:
    FreedesktopThumbnailLoader();
    void load(const QByteArray &path, double scale, std::function<void(QImage)> done) override;

    // The work itself, blocking: for the worker, and for tests.
    static QImage loadNow(const QByteArray &path, double scale, const QByteArray &thumbnailRoot);
    // "file:///home/u/My%20File.pdf": the URI whose MD5 names the cached thumbnail.
    static QByteArray fileUri(const QByteArray &path);
    static QByteArray defaultThumbnailRoot();

private:
    QtExecutor m_main;
    WorkerThread m_worker;
};

} // namespace dowsel
