#include "platform/fake/MemoryPreferences.h"
#include "ui/FallbackIcons.h"
#include "ui/FileThumbnailView.h"
#include "ui/FreedesktopThumbnailLoader.h"
#include "ui/PopoverItemDelegate.h"
#include "ui/PopoverListModel.h"
#include "ui/ThumbnailCache.h"

#include <QCryptographicHash>
#include <QImageWriter>
#include <QListView>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <memory>

using namespace dowsel;

namespace {

// Loads finish only when the test says so.
class ManualLoader final : public ThumbnailLoader {
public:
    void load(const QByteArray &path, double scale, std::function<void(QImage)> done) override
    {
        requests.push_back({path, scale, std::move(done)});
    }
    void finish(std::size_t index, const QImage &image) { requests.at(index).done(image); }

    struct Request {
        QByteArray path;
        double scale;
        std::function<void(QImage)> done;
    };
    std::vector<Request> requests;
};

QImage solid(QColor color, int side = 8)
{
    QImage image(side, side, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

TEST(ThumbnailCache, KeyIsPathBarAndDecimalScale)
{
    EXPECT_EQ(ThumbnailCache::key("/home/u/Downloads/a.pdf", 2), QByteArray("/home/u/Downloads/a.pdf|2.0"));
    EXPECT_EQ(ThumbnailCache::key("/x", 1.5), QByteArray("/x|1.5"));
}

TEST(ThumbnailCache, ConcurrentRequestsShareOneLoadAndFailuresAreRetried)
{
    ManualLoader loader;
    ThumbnailCache cache(loader);
    QObject owner;
    std::vector<QColor> seen;
    auto record = [&](const QImage &image) { seen.push_back(image.isNull() ? QColor() : image.pixelColor(0, 0)); };

    cache.image("/d/a.png", 2, &owner, record);
    cache.image("/d/a.png", 2, &owner, record);
    cache.image("/d/a.png", 1, &owner, record); // another scale is another picture
    ASSERT_EQ(loader.requests.size(), 2u);
    EXPECT_EQ(cache.inFlightCount(), 2);
    loader.finish(0, solid(Qt::red));
    EXPECT_EQ(seen, (std::vector<QColor>{Qt::red, Qt::red}));

    cache.image("/d/a.png", 2, &owner, record);
    EXPECT_EQ(seen.size(), 3u) << "a cached picture comes back at once";
    EXPECT_EQ(loader.requests.size(), 2u);

    loader.finish(1, QImage()); // cannot be rendered
    EXPECT_EQ(seen.back(), QColor());
    EXPECT_EQ(cache.count(), 1);
    cache.image("/d/a.png", 1, &owner, record);
    EXPECT_EQ(loader.requests.size(), 3u) << "a failure is tried again";
}

TEST(ThumbnailCache, KeepsTheMostRecentlyUsedUpToItsLimit)
{
    ManualLoader loader;
    ThumbnailCache cache(loader, 2);
    int answers = 0;
    auto count = [&](const QImage &) { ++answers; };
    for (const char *path : {"/a", "/b"})
        cache.image(path, 1, nullptr, count);
    loader.finish(0, solid(Qt::red));
    loader.finish(1, solid(Qt::green));
    cache.image("/a", 1, nullptr, count); // /a is now the most recent
    cache.image("/c", 1, nullptr, count);
    loader.finish(2, solid(Qt::blue));
    EXPECT_EQ(cache.count(), 2);
    EXPECT_EQ(loader.requests.size(), 3u);
    cache.image("/a", 1, nullptr, count);
    EXPECT_EQ(loader.requests.size(), 3u) << "/a stayed";
    cache.image("/b", 1, nullptr, count);
    EXPECT_EQ(loader.requests.size(), 4u) << "/b was the least recently used";
    EXPECT_EQ(answers, 5);
}

TEST(ThumbnailCache, AnswerForAGoneViewIsDroppedButStillCached)
{
    ManualLoader loader;
    ThumbnailCache cache(loader);
    bool called = false;
    {
        QObject owner;
        cache.image("/a", 1, &owner, [&](const QImage &) { called = true; });
    }
    loader.finish(0, solid(Qt::red));
    EXPECT_FALSE(called);
    EXPECT_EQ(cache.count(), 1);
}

TEST(ThumbnailRequest, IgnoresAnswersForAnEarlierFileAndAsksAtLeastAtScaleOne)
{
    ManualLoader loader;
    ThumbnailCache cache(loader);
    QObject owner;
    int changes = 0;
    ThumbnailRequest request(cache, owner, [&] { ++changes; });
    request.follow("/first", 0.5);
    ASSERT_EQ(loader.requests.size(), 1u);
    EXPECT_EQ(loader.requests[0].scale, 1.0);
    request.follow("/first", 0.5);
    EXPECT_EQ(loader.requests.size(), 1u) << "same identity, no new request";
    request.follow("/second", 0.5); // the row now shows another file
    loader.finish(0, solid(Qt::red));
    EXPECT_TRUE(request.thumbnail().isNull());
    loader.finish(1, solid(Qt::green));
    EXPECT_EQ(request.thumbnail().pixelColor(0, 0), QColor(Qt::green));
    request.follow("", 1);
    EXPECT_EQ(loader.requests.size(), 2u) << "an empty path starts nothing";
    EXPECT_TRUE(request.thumbnail().isNull());
    EXPECT_EQ(changes, 2);
}

struct FreedesktopLoaderFixture : ::testing::Test {
    QTemporaryDir dir;
    QByteArray root() const { return QFile::encodeName(dir.path()) + "/thumbnails"; }
    QByteArray filePath(const QByteArray &name) const { return QFile::encodeName(dir.path()) + '/' + name; }

    // By the exact bytes of the name, which need not be valid UTF-8.
    void writeImage(const QByteArray &path, const QImage &image)
    {
        const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        ASSERT_GE(fd, 0);
        QFile file;
        ASSERT_TRUE(file.open(fd, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle));
        ASSERT_TRUE(image.save(&file, "PNG"));
    }

    // Moves the text chunks of a PNG file behind its image data, where ImageMagick writes them.
    static QByteArray textAfterImageData(const QByteArray &png)
    {
        QByteArray head = png.left(8), texts, tail;
        for (qsizetype offset = 8; offset + 12 <= png.size();) {
            const auto *h = reinterpret_cast<const uchar *>(png.constData() + offset);
            const qsizetype length = qsizetype(h[0]) << 24 | qsizetype(h[1]) << 16 | qsizetype(h[2]) << 8 | h[3];
            const QByteArray chunk = png.mid(offset, length + 12);
            const QByteArray type = chunk.mid(4, 4);
            if (type == "tEXt" || type == "zTXt" || type == "iTXt")
                texts += chunk;
            else if (type == "IEND")
                tail = chunk;
            else
                head += chunk;
            offset += length + 12;
        }
        return head + texts + tail;
    }

    void writeCachedThumbnail(const QByteArray &path, QColor color, qint64 mtime, bool textLast = false)
    {
        const QByteArray uri = FreedesktopThumbnailLoader::fileUri(path);
        const QByteArray folder = root() + "/large";
        ASSERT_TRUE(QDir().mkpath(QFile::decodeName(folder)));
        QImage thumbnail = solid(color, 256);
        thumbnail.setText(QStringLiteral("Thumb::URI"), QString::fromUtf8(uri));
        thumbnail.setText(QStringLiteral("Thumb::MTime"), QString::number(mtime));
        QImageWriter writer(QFile::decodeName(folder + '/' +
                                              QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex() + ".png"),
                            "png");
        ASSERT_TRUE(writer.write(thumbnail));
        if (textLast) {
            QFile file(writer.fileName());
            ASSERT_TRUE(file.open(QIODevice::ReadWrite));
            const QByteArray moved = textAfterImageData(file.readAll());
            ASSERT_TRUE(moved.indexOf("tEXt") > moved.indexOf("IDAT"));
            file.resize(0);
            file.write(moved);
        }
    }

    static qint64 mtimeOf(const QByteArray &path)
    {
        struct stat info {};
        ::stat(path.constData(), &info);
        return info.st_mtime;
    }
};

TEST_F(FreedesktopLoaderFixture, FileUriEscapesLikeOtherDesktopPrograms)
{
    EXPECT_EQ(FreedesktopThumbnailLoader::fileUri("/home/u/My File#1 (2).png"),
              QByteArray("file:///home/u/My%20File%231%20(2).png"));
    EXPECT_EQ(FreedesktopThumbnailLoader::fileUri("/a/\xff\"b"), QByteArray("file:///a/%FF%22b"));
}

TEST_F(FreedesktopLoaderFixture, UsesAnUpToDateCachedThumbnailElseReadsTheImage)
{
    const QByteArray photo = filePath("holiday photo.png");
    writeImage(photo, solid(Qt::red, 600));
    QImage image = FreedesktopThumbnailLoader::loadNow(photo, 1, root());
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.size(), QSize(128, 128)) << "scaled down to 128 points";
    EXPECT_EQ(image.pixelColor(64, 64), QColor(Qt::red));

    writeCachedThumbnail(photo, Qt::blue, mtimeOf(photo));
    image = FreedesktopThumbnailLoader::loadNow(photo, 2, root());
    EXPECT_EQ(image.size(), QSize(256, 256));
    EXPECT_EQ(image.pixelColor(10, 10), QColor(Qt::blue)) << "the shared cache wins";

    writeCachedThumbnail(photo, Qt::blue, mtimeOf(photo) - 100); // made before the file changed
    EXPECT_EQ(FreedesktopThumbnailLoader::loadNow(photo, 1, root()).pixelColor(10, 10), QColor(Qt::red));

    // The URI and time written after the image data count just the same.
    writeCachedThumbnail(photo, Qt::darkGreen, mtimeOf(photo), true);
    EXPECT_EQ(FreedesktopThumbnailLoader::loadNow(photo, 1, root()).pixelColor(10, 10), QColor(Qt::darkGreen));
    writeCachedThumbnail(photo, Qt::darkGreen, mtimeOf(photo) - 100, true);
    EXPECT_EQ(FreedesktopThumbnailLoader::loadNow(photo, 1, root()).pixelColor(10, 10), QColor(Qt::red));
}

TEST_F(FreedesktopLoaderFixture, OddNamesAndNonImages)
{
    const QByteArray odd = filePath("-bad \xff\xfe name\n.png");
    writeImage(odd, solid(Qt::green, 40));
    const QImage image = FreedesktopThumbnailLoader::loadNow(odd, 1, root());
    EXPECT_EQ(image.size(), QSize(40, 40)) << "small images are not blown up";

    const QByteArray text = filePath("notes.txt");
    QFile file(QFile::decodeName(text));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("just words\n");
    file.close();
    EXPECT_TRUE(FreedesktopThumbnailLoader::loadNow(text, 1, root()).isNull());
    EXPECT_TRUE(FreedesktopThumbnailLoader::loadNow(filePath("vanished.png"), 1, root()).isNull());
    EXPECT_TRUE(FreedesktopThumbnailLoader::loadNow(QFile::encodeName(dir.path()), 1, root()).isNull());
}

TEST(FallbackIcons, DrawWhereTheDesktopHasNoIconTheme)
{
    const QString theme = QIcon::themeName();
    QIcon::setThemeName(QStringLiteral("no-such-theme"));
    installFallbackIcons();
    installFallbackIcons(); // once is enough; twice changes nothing
    EXPECT_EQ(QIcon::fallbackSearchPaths().count(QStringLiteral(":/icons/fallback")), 1);
    // The More menu's rows, a file type and the onboarding's check mark.
    for (const char *name : {"user-trash", "edit-copy", "text-x-generic", "emblem-default"}) {
        const QImage image = QIcon::fromTheme(QString::fromLatin1(name)).pixmap(24, 24).toImage();
        ASSERT_FALSE(image.isNull()) << name;
        int drawn = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                drawn += qAlpha(image.pixel(x, y)) > 0;
        EXPECT_GT(drawn, 20) << name << " is blank";
    }
    QIcon::setThemeName(theme);
}

TEST(PopoverRows, ShowTheThumbnailServicesPictureOnceItComes)
{
    ManualLoader loader;
    ThumbnailCache cache(loader);
    MemoryPreferences prefs;
    PopoverListModel model;
    TrackedFile shot;
    shot.id = 1;
    shot.filePath = "/home/u/Downloads/Screenshot 1.png";
    shot.fileName = "Screenshot 1.png";
    shot.state = FileState::dismissed;
    shot.fileSize = 1234;
    TrackedFile folder = shot;
    folder.id = 2;
    folder.filePath = "/home/u/Downloads/photos";
    folder.fileName = "photos";
    folder.fileSize = 0;
    PopoverLists lists;
    lists.ignoredFiles = {shot, folder};
    model.setLists(lists, 0);
    model.setIgnoredExpanded(true);

    PopoverItemDelegate delegate(prefs, &cache);
    QListView view;
    view.setModel(&model);
    view.setItemDelegate(&delegate);
    view.resize(360, 300);
    int arrivals = 0;
    QObject::connect(&delegate, &PopoverItemDelegate::thumbnailArrived, [&arrivals] { ++arrivals; });

    int row = -1;
    for (int i = 0; i < model.rowCount(); ++i) {
        if (model.index(i).data(Qt::DisplayRole).toString() == QStringLiteral("Screenshot 1.png"))
            row = i;
    }
    ASSERT_GE(row, 0);
    const auto thumbnailCentre = [&] {
        const QRect rect = view.visualRect(model.index(row));
        return QPoint(rect.left() + 12 + 14, rect.center().y());
    };
    QImage before = view.grab().toImage();
    ASSERT_EQ(loader.requests.size(), 1u) << "one request for the file, none for the folder";
    EXPECT_EQ(loader.requests[0].path, shot.filePath);
    EXPECT_NE(before.pixelColor(thumbnailCentre()), QColor(Qt::red));

    loader.finish(0, solid(Qt::red, 300));
    EXPECT_EQ(arrivals, 1);
    const QImage after = view.grab().toImage();
    EXPECT_EQ(after.pixelColor(thumbnailCentre()), QColor(Qt::red)) << "the row shows the loader's picture";
    EXPECT_EQ(loader.requests.size(), 1u) << "a picture is asked for once";
}

} // namespace
