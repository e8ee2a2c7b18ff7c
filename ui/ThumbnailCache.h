#pragma once

#include <QByteArray>
#include <QHash>
#include <QImage>
#include <QPointer>

#include <functional>
#include <list>
#include <memory>
#include <vector>

class QObject;

namespace dowsel {

// Makes the picture of one file. The work happens off the main thread; `done` runs on the
// main thread, with a null image when no picture can be made.
class ThumbnailLoader {
public:
    static constexpr double pointSize = 128;

    virtual ~ThumbnailLoader() = default;
    virtual void load(const QByteArray &path, double scale, std::function<void(QImage)> done) = 0;
};

// Finished thumbnails by file and display scale, the 512 most recently used kept. Two
// requests for the same picture while it is being made share one load. Failures are not
// remembered, so the next request tries again. Main thread only.
class ThumbnailCache {
public:
    static constexpr int defaultCountLimit = 512;
    using Done = std::function<void(const QImage &)>;

    explicit ThumbnailCache(ThumbnailLoader &loader, int countLimit = defaultCountLimit);
    ThumbnailCache(const ThumbnailCache &) = delete;
    ThumbnailCache &operator=(const ThumbnailCache &) = delete;

    // The app's cache, on the freedesktop thumbnail cache and Qt's image readers.
    static ThumbnailCache &shared();

    // "/home/u/Downloads/a.pdf|2.0"
    static QByteArray key(const QByteArray &path, double scale);

    // Hands the picture to `done`: at once when it is cached, else when the load finishes.
    // `done` does not run if `context` (when given) is gone by then.
    void image(const QByteArray &path, double scale, const QObject *context, Done done);

    int count() const { return static_cast<int>(m_order.size()); }
    int inFlightCount() const { return static_cast<int>(m_inFlight.size()); }

private:
    struct Waiter {
        bool isGuarded;
        QPointer<const QObject> context;
        Done done;
    };
    struct Entry {
        QImage image;
        std::list<QByteArray>::iterator position;
    };

    void finish(const QByteArray &key, const QImage &image);
    void insert(const QByteArray &key, const QImage &image);

    ThumbnailLoader &m_loader;
    int m_countLimit;
    std::list<QByteArray> m_order; // most recently used first
    QHash<QByteArray, Entry> m_cache;
    QHash<QByteArray, std::vector<Waiter>> m_inFlight;
    std::shared_ptr<int> m_lifetime = std::make_shared<int>(0);
};

} // namespace dowsel
