#pragma once

#include <QByteArray>
#include <QIcon>
#include <QImage>
#include <QWidget>

#include <functional>

class QPainter;

namespace dowsel {

class ThumbnailCache;

// The icon of the file's type from the icon theme; for an empty path, the generic data icon.
QIcon fileTypeIcon(const QByteArray &path);

// Draws `thumbnail`, or the file-type icon while there is none, clipped to a rounded square.
void paintFileThumbnail(QPainter &painter, const QRectF &rect, const QImage &thumbnail, const QByteArray &path,
                        double cornerRadius);

// Follows one file's thumbnail: asks the cache whenever the file or the display scale
// changes and keeps the answer, ignoring answers for an earlier file.
class ThumbnailRequest {
public:
    ThumbnailRequest(ThumbnailCache &cache, const QObject &owner, std::function<void()> onChanged);

    // Asks for `path` at `displayScale` unless that is what is already shown or asked for.
    void follow(const QByteArray &path, double displayScale);
    const QByteArray &path() const { return m_path; }
    const QImage &thumbnail() const { return m_thumbnail; }

private:
    ThumbnailCache &m_cache;
    const QObject &m_owner;
    std::function<void()> m_onChanged;
    QByteArray m_path;
    double m_scale = 0;
    QImage m_thumbnail;
    quint64 m_generation = 0;
};

// A file's picture at any size (28 points in the popover's rows, 52 on the toast).
class FileThumbnailView : public QWidget {
    Q_OBJECT
public:
    FileThumbnailView(const QByteArray &path, double cornerRadius, QWidget *parent = nullptr,
                      ThumbnailCache *cache = nullptr);

    void setPath(const QByteArray &path);
    const QByteArray &path() const { return m_path; }
    const QImage &thumbnail() const { return m_request.thumbnail(); }

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    QByteArray m_path;
    double m_cornerRadius;
    ThumbnailRequest m_request;
};

} // namespace dowsel
