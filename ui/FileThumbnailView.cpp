#include "ui/FileThumbnailView.h"

#include "ui/ThumbnailCache.h"

#include <QFile>
#include <QMimeDatabase>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace dowsel {

QIcon fileTypeIcon(const QByteArray &path)
{
    static const QMimeDatabase database;
    // By name only (plus a stat for folders): the main thread never reads file contents.
    const QMimeType type = path.isEmpty() ? database.mimeTypeForName(QStringLiteral("application/octet-stream"))
                                          : database.mimeTypeForFile(QFile::decodeName(path),
                                                                     QMimeDatabase::MatchExtension);
    return QIcon::fromTheme(type.iconName(),
                            QIcon::fromTheme(type.genericIconName(), QIcon::fromTheme(QStringLiteral("text-x-generic"))));
}

void paintFileThumbnail(QPainter &painter, const QRectF &rect, const QImage &thumbnail, const QByteArray &path,
                        double cornerRadius)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    QPainterPath clip;
    clip.addRoundedRect(rect, cornerRadius, cornerRadius);
    painter.setClipPath(clip);
    if (!thumbnail.isNull()) {
        const QSizeF fitted = QSizeF(thumbnail.size()).scaled(rect.size(), Qt::KeepAspectRatio);
        const QRectF target(rect.center() - QPointF(fitted.width() / 2, fitted.height() / 2), fitted);
        painter.drawImage(target, thumbnail);
    } else {
        const QIcon icon = fileTypeIcon(path);
        if (icon.isNull()) {
            painter.fillPath(clip, QColor(255, 255, 255, 40)); // no icon theme at all
        } else {
            const qreal dpr = painter.device() ? painter.device()->devicePixelRatioF() : 1.0;
            const QSize side = rect.size().toSize();
            painter.drawPixmap(rect.toRect(), icon.pixmap(side, dpr));
        }
    }
    painter.restore();
}

ThumbnailRequest::ThumbnailRequest(ThumbnailCache &cache, const QObject &owner, std::function<void()> onChanged)
    : m_cache(cache), m_owner(owner), m_onChanged(std::move(onChanged))
{
}

void ThumbnailRequest::follow(const QByteArray &path, double displayScale)
{
    if (path == m_path && displayScale == m_scale)
        return;
    m_path = path;
    m_scale = displayScale;
    m_thumbnail = QImage();
    const quint64 generation = ++m_generation;
    if (path.isEmpty()) {
        m_onChanged();
        return;
    }
    m_cache.image(path, std::max(displayScale, 1.0), &m_owner, [this, generation](const QImage &image) {
        if (generation != m_generation)
            return; // an answer for a file no longer shown
        m_thumbnail = image;
        m_onChanged();
    });
}

FileThumbnailView::FileThumbnailView(const QByteArray &path, double cornerRadius, QWidget *parent,
                                     ThumbnailCache *cache)
    : QWidget(parent), m_path(path), m_cornerRadius(cornerRadius),
      m_request(cache ? *cache : ThumbnailCache::shared(), *this, [this] { update(); })
{
}

void FileThumbnailView::setPath(const QByteArray &path)
{
    m_path = path;
    if (isVisible())
        m_request.follow(m_path, devicePixelRatioF());
    update();
}

void FileThumbnailView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    m_request.follow(m_path, devicePixelRatioF());
}

void FileThumbnailView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QImage &image = m_request.path() == m_path ? m_request.thumbnail() : QImage();
    paintFileThumbnail(painter, rect(), image, m_path, m_cornerRadius);
}

} // namespace dowsel
