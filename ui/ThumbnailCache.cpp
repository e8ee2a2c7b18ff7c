#include "ui/ThumbnailCache.h"

#include "ui/FreedesktopThumbnailLoader.h"

namespace dowsel {

ThumbnailCache::ThumbnailCache(ThumbnailLoader &loader, int countLimit) : m_loader(loader), m_countLimit(countLimit)
{
}

ThumbnailCache &ThumbnailCache::shared()
{
    static FreedesktopThumbnailLoader loader;
    static ThumbnailCache cache(loader);
    return cache;
}

QByteArray ThumbnailCache::key(const QByteArray &path, double scale)
{
    QByteArray number = QByteArray::number(scale, 'g', 15);
    if (!number.contains('.') && !number.contains('e'))
        number += ".0";
    return path + '|' + number;
}

void ThumbnailCache::image(const QByteArray &path, double scale, const QObject *context, Done done)
{
    const QByteArray cacheKey = key(path, scale);
    if (auto found = m_cache.find(cacheKey); found != m_cache.end()) {
        m_order.splice(m_order.begin(), m_order, found->position);
        done(found->image);
        return;
    }
    auto waiting = m_inFlight.find(cacheKey);
    if (waiting != m_inFlight.end()) {
        waiting->push_back({context != nullptr, context, std::move(done)});
        return;
    }
    m_inFlight.insert(cacheKey, {Waiter{context != nullptr, context, std::move(done)}});
    m_loader.load(path, scale, [this, cacheKey, alive = std::weak_ptr<int>(m_lifetime)](const QImage &image) {
        if (alive.lock())
            finish(cacheKey, image);
    });
}

void ThumbnailCache::finish(const QByteArray &key, const QImage &image)
{
    const std::vector<Waiter> waiters = m_inFlight.take(key);
    if (!image.isNull())
        insert(key, image);
    for (const Waiter &waiter : waiters) {
        if (!waiter.isGuarded || waiter.context)
            waiter.done(image);
    }
}

void ThumbnailCache::insert(const QByteArray &key, const QImage &image)
{
    m_order.push_front(key);
    m_cache.insert(key, {image, m_order.begin()});
    while (static_cast<int>(m_order.size()) > m_countLimit) {
        m_cache.remove(m_order.back());
        m_order.pop_back();
    }
}

} // namespace dowsel
