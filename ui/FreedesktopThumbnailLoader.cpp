#include "ui/FreedesktopThumbnailLoader.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QCryptographicHash>
#include <QFile>
#include <QHash>
#include <QImageReader>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dowsel {

namespace {

// Reads an image from an open file, scaled to fit a square of `side` pixels.
QImage readScaled(QIODevice &device, int side)
{
    QImageReader reader(&device);
    if (reader.format().isEmpty())
        return {};
    const QSize size = reader.size();
    if (size.isValid() && (size.width() > side || size.height() > side))
        reader.setScaledSize(size.scaled(side, side, Qt::KeepAspectRatio));
    QImage image = reader.read();
    if (!image.isNull() && (image.width() > side || image.height() > side))
        image = image.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return image;
}

// The text chunks of a PNG file (tEXt, zTXt and iTXt), wherever they are: the format allows
// them after the image data, and some writers (ImageMagick) put them there. QImageReader
// folds "Thumb::URI" keys into its own "key: value" text, so they are read here directly.
QHash<QByteArray, QByteArray> pngTextChunks(const QByteArray &png)
{
    QHash<QByteArray, QByteArray> texts;
    static const QByteArray signature("\x89PNG\r\n\x1a\n", 8);
    if (!png.startsWith(signature))
        return texts;
    // zlib streams without their size: qUncompress takes the expected size only as a hint.
    const auto inflate = [](const QByteArray &stream) { return qUncompress(QByteArray("\0\1\0\0", 4) + stream); };
    qsizetype offset = signature.size();
    while (offset + 12 <= png.size()) {
        const auto *header = reinterpret_cast<const uchar *>(png.constData() + offset);
        const quint32 length = quint32(header[0]) << 24 | quint32(header[1]) << 16 | quint32(header[2]) << 8 | header[3];
        const QByteArray type = png.mid(offset + 4, 4);
        if (type == "IEND" || length > quint32(png.size() - offset - 12))
            break;
        const QByteArray data = type == "IDAT" ? QByteArray() : png.mid(offset + 8, length);
        const qsizetype separator = data.indexOf('\0');
        if (separator > 0) {
            const QByteArray key = data.left(separator);
            if (type == "tEXt") {
                texts.insert(key, data.mid(separator + 1));
            } else if (type == "zTXt" && separator + 2 <= data.size()) {
                // After the key: one byte of compression method (0, zlib), then the stream.
                texts.insert(key, inflate(data.mid(separator + 2)));
            } else if (type == "iTXt" && separator + 3 <= data.size()) {
                // Key, compressed flag, method, language tag, translated key, then the text.
                const bool compressed = data.at(separator + 1) != 0;
                const qsizetype language = data.indexOf('\0', separator + 3);
                const qsizetype translated = language < 0 ? -1 : data.indexOf('\0', language + 1);
                if (translated >= 0) {
                    const QByteArray text = data.mid(translated + 1);
                    texts.insert(key, compressed ? inflate(text) : text);
                }
            }
        }
        offset += 12 + length;
    }
    return texts;
}

// A cached thumbnail counts only when it was made from this very file as it is now.
QImage cachedThumbnail(const QByteArray &thumbnailPath, const QByteArray &uri, qint64 mtime, int side)
{
    QFile file(QFile::decodeName(thumbnailPath));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QBuffer buffer;
    buffer.setData(file.readAll());
    const QHash<QByteArray, QByteArray> texts = pngTextChunks(buffer.data());
    bool ok = false;
    if (texts.value("Thumb::URI") != uri || texts.value("Thumb::MTime").toLongLong(&ok) != mtime || !ok)
        return {};
    buffer.open(QIODevice::ReadOnly);
    return readScaled(buffer, side);
}

} // namespace

FreedesktopThumbnailLoader::FreedesktopThumbnailLoader()
    : m_main(QCoreApplication::instance()), m_worker("thumbnails", true)
{
}

void FreedesktopThumbnailLoader::load(const QByteArray &path, double scale, std::function<void(QImage)> done)
{
    postThen(
        m_worker, [path, scale] { return loadNow(path, scale, defaultThumbnailRoot()); }, m_main, std::move(done));
}

QByteArray FreedesktopThumbnailLoader::defaultThumbnailRoot()
{
    QByteArray cache = qgetenv("XDG_CACHE_HOME");
    if (cache.isEmpty() || !cache.startsWith('/'))
        cache = qgetenv("HOME") + "/.cache";
    return cache + "/thumbnails";
}

QByteArray FreedesktopThumbnailLoader::fileUri(const QByteArray &path)
{
    // The characters GLib leaves unescaped in a path, so the hashes match other programs'.
    return "file://" + path.toPercentEncoding("!$&'()*+,/:=@~", "");
}

QImage FreedesktopThumbnailLoader::loadNow(const QByteArray &path, double scale, const QByteArray &thumbnailRoot)
{
    struct stat info {};
    if (path.isEmpty() || ::stat(path.constData(), &info) != 0 || !S_ISREG(info.st_mode))
        return {};
    const int side = qRound(pointSize * std::max(scale, 1.0));

    const QByteArray uri = fileUri(path);
    const QByteArray name = QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex() + ".png";
    const char *sizes[] = {"large", "x-large", "normal"};
    for (const char *size : sizes) {
        const QImage cached = cachedThumbnail(thumbnailRoot + '/' + size + '/' + name, uri, info.st_mtime, side);
        if (!cached.isNull())
            return cached;
    }

    // Opened by its exact bytes: a name that is not valid UTF-8 must still be found.
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (fd < 0)
        return {};
    QFile file;
    if (!file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return {};
    }
    return readScaled(file, side);
}

} // namespace dowsel
