#include "app/gui/TrayIcon.h"

#include <QIcon>
#include <QImage>
#include <QPixmap>

#include <gtest/gtest.h>

namespace dowsel {
namespace {

// Share of pixels that are not transparent.
double coverage(const QImage &image)
{
    int opaque = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            opaque += qAlpha(image.pixel(x, y)) > 128;
    return double(opaque) / (image.width() * image.height());
}

TEST(TrayIcon, TheIconsAreDrawnFromTheirSvgsAndTheTrayShowsTheSymbolicOne)
{
    for (const char *path : {":/icons/app.dowsel.Dowsel-symbolic.svg", ":/icons/app.dowsel.Dowsel.svg"}) {
        SCOPED_TRACE(path);
        const QImage image = QIcon(QString::fromLatin1(path)).pixmap(64, 64).toImage();
        ASSERT_FALSE(image.isNull()) << "the SVG icon engine (libqt6svg6) could not draw it";
        const double covered = coverage(image);
        EXPECT_GT(covered, 0.2); // something is drawn
        EXPECT_LT(covered, 0.95); // on a transparent ground
    }

    const QImage symbolic =
        QIcon(QStringLiteral(":/icons/app.dowsel.Dowsel-symbolic.svg")).pixmap(22, 22).toImage().convertToFormat(QImage::Format_ARGB32);
    const QImage tray = trayIcon().pixmap(22, 22).toImage().convertToFormat(QImage::Format_ARGB32);
    EXPECT_EQ(tray, symbolic);
    // Symbolic: one grey, nothing else.
    for (int y = 0; y < tray.height(); ++y) {
        for (int x = 0; x < tray.width(); ++x) {
            if (qAlpha(tray.pixel(x, y)) == 255) {
                EXPECT_EQ(QColor(tray.pixel(x, y)).name(), QStringLiteral("#bebebe"));
            }
        }
    }
    EXPECT_FALSE(applicationIcon().pixmap(48, 48).isNull());
}

} // namespace
} // namespace dowsel
