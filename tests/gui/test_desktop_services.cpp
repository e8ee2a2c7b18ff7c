#include "platform/linux/gui/QtClipboard.h"
#include "platform/linux/gui/QtWorkspace.h"
#include "core/FileUrls.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <gtest/gtest.h>

using namespace dowsel;

namespace {

// Names a file manager must get back byte for byte: spaces, a quote, a percent sign, a
// newline, a leading dash and bytes that are not UTF-8.
const std::vector<QByteArray> oddPaths{
    "/home/ana/Downloads/report 2025 \"final\".pdf",
    "/home/ana/Downloads/100% new\nline.txt",
    "/home/ana/Downloads/-rf",
    QByteArray("/home/ana/Downloads/caf\xe9 \xff.bin"),
};

TEST(QtClipboard, PutsTheFilesOnTheClipboardInBothFileManagerFormats)
{
    QtClipboard().setFiles(oddPaths);
    const QMimeData *data = QGuiApplication::clipboard()->mimeData();
    ASSERT_NE(data, nullptr);
    const FileClipboardPayload expected = fileClipboardPayload(oddPaths);
    EXPECT_EQ(data->data(QStringLiteral("x-special/gnome-copied-files")), expected.gnomeCopiedFiles);
    EXPECT_EQ(data->data(QStringLiteral("text/uri-list")), expected.uriList);

    // Every URL leads back to exactly the bytes of its path.
    const QList<QByteArray> lines = data->data(QStringLiteral("text/uri-list")).split('\n');
    for (std::size_t index = 0; index < oddPaths.size(); ++index) {
        const QByteArray line = lines.value(qsizetype(index)).trimmed();
        ASSERT_TRUE(line.startsWith("file://")) << line.constData();
        EXPECT_EQ(QByteArray::fromPercentEncoding(line.sliced(7)), oddPaths[index]);
    }
}

struct Workspace : ::testing::Test {
    std::vector<QUrl> opened;
    QtWorkspace workspace{QDBusConnection(QStringLiteral("dowsel-test-no-bus")), [this](const QUrl &url) {
                              opened.push_back(url);
                              return true;
                          }};
};

TEST_F(Workspace, OpensTheExactFileEvenWhenItsNameIsNotUtf8)
{
    workspace.open(oddPaths[0]);
    workspace.open(oddPaths[3]);
    ASSERT_EQ(opened.size(), 2u);
    EXPECT_EQ(opened[0].toLocalFile(), QString::fromUtf8(oddPaths[0]));
    EXPECT_TRUE(opened[1].isValid());
    EXPECT_EQ(QByteArray::fromPercentEncoding(opened[1].toEncoded().sliced(7)), oddPaths[3]);
}

TEST_F(Workspace, WithoutAFileManagerOnTheBusRevealOpensEachFolderOnce)
{
    workspace.reveal({"/home/ana/Documents/a.pdf", "/home/ana/Documents/b.pdf", "/home/ana/Work/c d/e.txt", "/f"});
    ASSERT_EQ(opened.size(), 3u);
    EXPECT_EQ(opened[0].toLocalFile(), "/home/ana/Documents");
    EXPECT_EQ(opened[1].toLocalFile(), "/home/ana/Work/c d");
    EXPECT_EQ(opened[2].toLocalFile(), "/");

    opened.clear();
    workspace.reveal({});
    EXPECT_TRUE(opened.empty());
}

} // namespace
