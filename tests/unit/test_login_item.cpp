#include "app/LoginItem.h"
#include "platform/fake/MemoryPreferences.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace dowsel {
namespace {

using State = LoginItem::State;

class LoginItemTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    LoginItem item(const QString &binary = QStringLiteral("/usr/bin/dowsel"))
    {
        return LoginItem(prefs, binary, entryPath);
    }

    QByteArray contents() const
    {
        QFile file(entryPath);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    void writeEntry(const QByteArray &text)
    {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(entryPath).absolutePath()));
        QFile file(entryPath);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text);
    }

    // desktop-file-validate's complaints, or nothing when it is content; skips without the tool.
    QString validatorComplaints()
    {
        const QString tool = QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate"));
        if (tool.isEmpty())
            return QStringLiteral("skip");
        QProcess process;
        process.start(tool, {entryPath});
        process.waitForFinished(30000);
        const QString output = QString::fromUtf8(process.readAllStandardOutput() + process.readAllStandardError());
        if (process.exitCode() != 0 || output.contains(u"error", Qt::CaseInsensitive))
            return output.isEmpty() ? QStringLiteral("exit %1").arg(process.exitCode()) : output;
        return {};
    }

    QTemporaryDir dir;
    QString entryPath = dir.filePath(QStringLiteral("autostart/dowsel.desktop"));
    MemoryPreferences prefs;
};

TEST_F(LoginItemTest, FirstRegistrationWritesAValidEnabledEntryForTheRunningBinary)
{
    LoginItem login = item();
    EXPECT_EQ(login.state(), State::absent);
    ASSERT_FALSE(login.registerAtStart().has_value());
    EXPECT_EQ(login.state(), State::enabled);
    EXPECT_EQ(prefs.boolean(prefkeys::loginItemRegistered), true);
    EXPECT_TRUE(contents().contains("\nExec=\"/usr/bin/dowsel\"\n"));
    EXPECT_TRUE(contents().contains("\nX-GNOME-Autostart-enabled=true\n"));
    const QString complaints = validatorComplaints();
    if (complaints == u"skip")
        GTEST_SKIP() << "desktop-file-validate is not installed (package desktop-file-utils)";
    EXPECT_TRUE(complaints.isEmpty()) << complaints.toStdString();
}

TEST_F(LoginItemTest, ExecEscapingRoundTripsAndValidatesForAwkwardPaths)
{
    const QStringList paths = {
        QStringLiteral("/home/ana/my builds/dowsel"),
        QStringLiteral("/opt/$HOME/100% done/dowsel"),
        QStringLiteral("/tmp/say \"hi\"/`x`/back\\slash/dowsel"),
        QStringLiteral("/tmp/%f %u %%/dowsel"),
    };
    for (const QString &path : paths) {
        SCOPED_TRACE(path.toStdString());
        const QString exec = desktopExecValue(path);
        EXPECT_EQ(desktopExecProgram(exec), path);
        EXPECT_FALSE(exec.contains(QRegularExpression(QStringLiteral("(^|[^%])%[^%]")))) << exec.toStdString();
        LoginItem login = item(path);
        ASSERT_FALSE(login.setEnabled(true).has_value());
        EXPECT_EQ(login.state(), State::enabled);
        const QString complaints = validatorComplaints();
        if (complaints != u"skip") {
            EXPECT_TRUE(complaints.isEmpty()) << complaints.toStdString();
        }
        // The running binary already named: a restart leaves the file alone.
        const QByteArray before = contents();
        writeEntry(before + "# untouched\n");
        ASSERT_FALSE(login.registerAtStart().has_value());
        EXPECT_TRUE(contents().endsWith("# untouched\n"));
    }
    EXPECT_EQ(desktopExecValue(QStringLiteral("/a/$b")), QStringLiteral("\"/a/\\\\$b\""));
    EXPECT_EQ(desktopExecProgram(QStringLiteral("dowsel --flag")), QStringLiteral("dowsel"));
    EXPECT_TRUE(desktopExecProgram(QStringLiteral("\"/no/closing")).isEmpty());
}

TEST_F(LoginItemTest, EntriesTheUserTurnedOffStayOffAcrossRestarts)
{
    ASSERT_FALSE(item().registerAtStart().has_value());
    const QByteArray written = contents();

    struct Case {
        const char *how;
        QByteArray entry; // empty: deleted
    };
    const Case cases[] = {
        {"KDE/XFCE: Hidden=true", written + "Hidden=true\n"},
        {"GNOME: X-GNOME-Autostart-enabled=false",
         QByteArray(written).replace("X-GNOME-Autostart-enabled=true", "X-GNOME-Autostart-enabled=false")},
        {"GNOME Tweaks: deleted", QByteArray()},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.how);
        if (c.entry.isEmpty())
            ASSERT_TRUE(QFile::remove(entryPath));
        else
            writeEntry(c.entry);
        for (const QString &binary : {QStringLiteral("/usr/bin/dowsel"), QStringLiteral("/usr/local/bin/dowsel")}) {
            LoginItem restarted = item(binary); // even a different binary does not turn it back on
            ASSERT_FALSE(restarted.registerAtStart().has_value());
            EXPECT_NE(restarted.state(), State::enabled);
            if (c.entry.isEmpty())
                EXPECT_FALSE(QFileInfo::exists(entryPath));
            else
                EXPECT_EQ(contents(), c.entry);
        }
    }
}

TEST_F(LoginItemTest, AnEnabledEntryFollowsTheRunningBinary)
{
    ASSERT_FALSE(item(QStringLiteral("/home/ana/src/build/dowsel")).registerAtStart().has_value());
    LoginItem installed = item(QStringLiteral("/usr/bin/dowsel"));
    ASSERT_FALSE(installed.registerAtStart().has_value());
    EXPECT_EQ(installed.state(), State::enabled);
    EXPECT_TRUE(contents().contains("\nExec=\"/usr/bin/dowsel\"\n"));
}

TEST_F(LoginItemTest, AnEntryFromBeforeTheRecordIsRespected)
{
    // Written by an older Dowsel, turned off by the user, with no record in the preferences.
    writeEntry("[Desktop Entry]\nType=Application\nName=Dowsel\nExec=/old/dowsel\nHidden=true\n");
    ASSERT_FALSE(item().registerAtStart().has_value());
    EXPECT_EQ(item().state(), State::disabled);
    EXPECT_TRUE(contents().contains("Exec=/old/dowsel"));
    EXPECT_EQ(prefs.boolean(prefkeys::loginItemRegistered), true);
    ASSERT_TRUE(QFile::remove(entryPath));
    ASSERT_FALSE(item().registerAtStart().has_value());
    EXPECT_FALSE(QFileInfo::exists(entryPath));
}

TEST_F(LoginItemTest, TheSettingsToggleTurnsTheEntryOnAndOffTheDesktopsWay)
{
    LoginItem login = item();
    ASSERT_FALSE(login.setEnabled(false).has_value());
    EXPECT_EQ(login.state(), State::disabled);
    EXPECT_TRUE(contents().contains("\nHidden=true\n"));
    EXPECT_TRUE(contents().contains("\nX-GNOME-Autostart-enabled=false\n"));
    ASSERT_FALSE(login.registerAtStart().has_value());
    EXPECT_EQ(login.state(), State::disabled);

    ASSERT_FALSE(login.setEnabled(true).has_value());
    EXPECT_EQ(login.state(), State::enabled);
    EXPECT_FALSE(contents().contains("Hidden"));

    // Keys of other groups and comments do not decide anything.
    writeEntry("# Hidden=true\n[Desktop Entry]\nExec=/usr/bin/dowsel\n[Desktop Action x]\nHidden=true\n");
    EXPECT_EQ(login.state(), State::enabled);
}

TEST_F(LoginItemTest, AFolderThatCannotBeMadeIsReported)
{
    QFile blocker(dir.filePath(QStringLiteral("autostart")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly)); // a file where the folder should be
    blocker.close();
    const auto error = item().registerAtStart();
    ASSERT_TRUE(error.has_value());
    EXPECT_FALSE(prefs.boolean(prefkeys::loginItemRegistered).has_value());
}

} // namespace
} // namespace dowsel
