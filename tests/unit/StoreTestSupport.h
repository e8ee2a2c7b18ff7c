#pragma once

#include "core/PosixFiles.h"

#include "core/TrackedFileStore.h"
#include "platform/fake/MemoryPreferences.h"
#include "platform/fake/RecordingTrash.h"
#include "platform/fake/VirtualClock.h"

#include <QByteArray>
#include <QLoggingCategory>
#include <QStringList>
#include <QTemporaryDir>

#include <atomic>
#include <mutex>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dowsel::testing {

// Writes a real file and returns its inode (0 on failure, which the test then reports).
inline std::uint64_t writeFile(const QByteArray &path, const QByteArray &content = "content")
{
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return 0;
    const bool written = ::write(fd, content.constData(), size_t(content.size())) == content.size();
    ::close(fd);
    struct stat status {};
    return written && ::lstat(path.constData(), &status) == 0 ? status.st_ino : 0;
}

// What names the file at `path` now (inode and guard); an empty identity when nothing is there.
inline FileIdentity identityOf(const QByteArray &path)
{
    return identityAt(path).value_or(FileIdentity{});
}

inline std::uint64_t inodeOf(const QByteArray &path)
{
    struct stat status {};
    return ::lstat(path.constData(), &status) == 0 ? status.st_ino : 0;
}

inline bool exists(const QByteArray &path)
{
    struct stat status {};
    return ::lstat(path.constData(), &status) == 0;
}

// Collects the debug lines of the categories that `rules` switch on, from any thread.
class LogCapture {
public:
    explicit LogCapture(const QString &rules)
    {
        s_instance = this;
        m_previous = qInstallMessageHandler(&LogCapture::handle);
        QLoggingCategory::setFilterRules(rules);
    }
    ~LogCapture()
    {
        QLoggingCategory::setFilterRules(QString());
        qInstallMessageHandler(m_previous);
        s_instance = nullptr;
    }
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    QStringList lines() const
    {
        std::lock_guard lock(m_mutex);
        return m_lines;
    }

private:
    static void handle(QtMsgType, const QMessageLogContext &, const QString &message)
    {
        if (LogCapture *capture = s_instance.load()) {
            std::lock_guard lock(capture->m_mutex);
            capture->m_lines.append(message);
        }
    }

    static inline std::atomic<LogCapture *> s_instance = nullptr;
    QtMessageHandler m_previous = nullptr;
    mutable std::mutex m_mutex;
    QStringList m_lines;
};

// A real store in a temporary folder, on virtual time and in-memory preferences.
class StoreFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        downloads = QFile::encodeName(dir.path()) + "/Downloads";
        ASSERT_EQ(::mkdir(downloads.constData(), 0755), 0);
        QString error;
        store = TrackedFileStore::open(databasePath(), clock, prefs, trash, &error);
        ASSERT_TRUE(store) << error.toStdString();
    }

    QString databasePath() const { return dir.path() + QStringLiteral("/data/Sivra.sqlite"); }
    QByteArray download(const QByteArray &name) const { return joinPath(downloads, name); }

    // A file in Downloads with its record; returns the record's id.
    RecordId track(const QByteArray &name, const QByteArray &content = "content")
    {
        const QByteArray path = download(name);
        const std::uint64_t inode = writeFile(path, content);
        EXPECT_NE(inode, 0u) << path.constData();
        return store->insertNew(identityOf(path), path, name, content.size());
    }

    QTemporaryDir dir;
    QByteArray downloads;
    VirtualClock clock;
    MemoryPreferences prefs;
    RecordingTrash trash;
    std::unique_ptr<TrackedFileStore> store;
};

} // namespace dowsel::testing
