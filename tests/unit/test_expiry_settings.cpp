#include "core/ByteCount.h"
#include "core/TrackedFile.h"
#include "core/ExpirySettings.h"
#include "platform/fake/MemoryPreferences.h"

#include <QDateTime>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

using namespace dowsel;

TEST(ExpirySettings, FreshInstallationExpiresAfterOneHour)
{
    MemoryPreferences prefs;
    EXPECT_EQ(defaultExpiryInterval(prefs), 3600);
    EXPECT_EQ(expiryLabel(prefs), QStringLiteral("1 hour"));
    EXPECT_TRUE(autoZipApplyEnabled(prefs));
}

TEST(ExpirySettings, ValueIsClampedAndNonIntegersFallBack)
{
    MemoryPreferences prefs;
    const std::pair<QJsonValue, int> cases[] = {
        {0, 1}, {5000, 999}, {-3, 1}, {QStringLiteral("12"), 1}, {2.5, 1}, {true, 1}, {999, 999}, {42, 42}};
    for (const auto &[stored, expected] : cases) {
        prefs.setValue(prefkeys::expiryValue, stored);
        EXPECT_EQ(currentExpiryValue(prefs), expected) << stored.toVariant().toString().toStdString();
    }
    // nothing is written back
    EXPECT_EQ(prefs.value(prefkeys::expiryValue), QJsonValue(42));
}

TEST(ExpirySettings, HugeWholeNumbersAreClampedNotReadAsMissing)
{
    MemoryPreferences prefs;
    const std::pair<QJsonValue, int> cases[] = {{9.1e15, 999},
                                                {1e300, 999},
                                                {qint64(9'223'372'036'854'775'807), 999},
                                                {-1e20, 1},
                                                {9e15 + 0.5, 999}, // doubles this large are whole
                                                {std::numeric_limits<double>::infinity(), 1},
                                                {1e-300, 1}};
    for (const auto &[stored, expected] : cases) {
        prefs.setValue(prefkeys::expiryValue, stored);
        EXPECT_EQ(currentExpiryValue(prefs), expected) << stored.toDouble();
    }
    prefs.setValue(prefkeys::expiryValue, 1e16);
    prefs.setValue(prefkeys::expiryUnit, QStringLiteral("minutes"));
    EXPECT_EQ(defaultExpiryInterval(prefs), 999 * 60);
    EXPECT_EQ(expiryLabel(prefs), QStringLiteral("999 minutes"));
}

TEST(ExpirySettings, AKeepMustEndByTheLastDateDowselWrites)
{
    const Date now = 1'700'000'000; // November 2023
    EXPECT_TRUE(expiryFits(3600, now));
    EXPECT_TRUE(expiryFits(latestExpiryDate - now, now));
    EXPECT_FALSE(expiryFits(latestExpiryDate - now + 1, now));
    EXPECT_FALSE(expiryFits(999999999.0 * 604800, now)); // "999999999 weeks"
    EXPECT_FALSE(expiryFits(std::numeric_limits<double>::infinity(), now));
    EXPECT_FALSE(expiryFits(0, now));
    EXPECT_FALSE(expiryFits(-5, now));
    EXPECT_FALSE(expiryFits(std::nan(""), now));
    EXPECT_EQ(QDateTime::fromSecsSinceEpoch(qint64(latestExpiryDate), Qt::UTC).toString(Qt::ISODate),
              QStringLiteral("9999-12-31T23:59:59Z"));
}

TEST(ExpirySettings, UnitMatchesRawValuesExactly)
{
    MemoryPreferences prefs;
    prefs.setValue(prefkeys::expiryUnit, QStringLiteral("Days"));
    EXPECT_EQ(currentExpiryUnit(prefs), ExpiryUnit::hours);
    prefs.setValue(prefkeys::expiryUnit, QStringLiteral("days"));
    EXPECT_EQ(currentExpiryUnit(prefs), ExpiryUnit::days);
    prefs.setValue(prefkeys::expiryUnit, 3);
    EXPECT_EQ(currentExpiryUnit(prefs), ExpiryUnit::hours);
    prefs.setValue(prefkeys::expiryUnit, QStringLiteral("minutes"));
    prefs.setValue(prefkeys::expiryValue, 30);
    EXPECT_EQ(defaultExpiryInterval(prefs), 1800);
    EXPECT_EQ(expiryLabel(prefs), QStringLiteral("30 minutes"));
}

TEST(ExpirySettings, LabelUsesSingularOnlyForOne)
{
    MemoryPreferences prefs;
    prefs.setValue(prefkeys::expiryUnit, QStringLiteral("days"));
    prefs.setValue(prefkeys::expiryValue, 1);
    EXPECT_EQ(expiryLabel(prefs), QStringLiteral("1 day"));
    prefs.setValue(prefkeys::expiryValue, 2);
    EXPECT_EQ(expiryLabel(prefs), QStringLiteral("2 days"));
    EXPECT_EQ(displayName(ExpiryUnit::hours, 0), QStringLiteral("hours"));
    EXPECT_EQ(displayName(ExpiryUnit::hours, -1), QStringLiteral("hours"));
    // the range of the default expiry
    prefs.setValue(prefkeys::expiryValue, 999);
    EXPECT_EQ(defaultExpiryInterval(prefs), 86'313'600);
}

TEST(ExpirySettings, ArchiveRuleReadsStoredBoolean)
{
    MemoryPreferences prefs;
    prefs.setValue(prefkeys::autoZipApply, false);
    EXPECT_FALSE(autoZipApplyEnabled(prefs));
    prefs.setValue(prefkeys::autoZipApply, 0);
    EXPECT_FALSE(autoZipApplyEnabled(prefs));
    prefs.setValue(prefkeys::autoZipApply, QStringLiteral("yes"));
    EXPECT_TRUE(autoZipApplyEnabled(prefs));
    prefs.remove(prefkeys::autoZipApply);
    EXPECT_TRUE(autoZipApplyEnabled(prefs));
}

TEST(ByteCount, FileStyleDecimalUnits)
{
    EXPECT_EQ(formatByteCount(0), QStringLiteral("Zero KB"));
    EXPECT_EQ(formatByteCount(1), QStringLiteral("1 byte"));
    EXPECT_EQ(formatByteCount(999), QStringLiteral("999 bytes"));
    EXPECT_EQ(formatByteCount(1000), QStringLiteral("1 KB"));
    EXPECT_EQ(formatByteCount(1499), QStringLiteral("1 KB"));
    EXPECT_EQ(formatByteCount(999'499), QStringLiteral("999 KB"));
    EXPECT_EQ(formatByteCount(999'600), QStringLiteral("1 MB"));
    EXPECT_EQ(formatByteCount(12'345'678), QStringLiteral("12.3 MB"));
    EXPECT_EQ(formatByteCount(2'000'000), QStringLiteral("2 MB"));
    EXPECT_EQ(formatByteCount(1'234'567'890), QStringLiteral("1.23 GB"));
    EXPECT_EQ(formatByteCount(5'000'000'000'000), QStringLiteral("5 TB"));
    EXPECT_EQ(formatByteCount(std::numeric_limits<qint64>::max()), QStringLiteral("9223.37 PB"));
}

TEST(TrackedFileRecord, SizeLabelAndStates)
{
    TrackedFile folder;
    folder.filePath = "/d/x";
    EXPECT_TRUE(folder.isFolderLike());
    EXPECT_EQ(folder.sizeLabel(), QStringLiteral("Folder"));
    TrackedFile pathless;
    EXPECT_EQ(pathless.sizeLabel(), QStringLiteral("Zero KB"));
    for (FileState state : {FileState::unprocessed, FileState::temporary, FileState::dismissed})
        EXPECT_EQ(fileStateFromRaw(rawValue(state)), state);
    EXPECT_EQ(fileStateFromRaw(u"Temporary"), std::nullopt);
    EXPECT_EQ(fileNameOf("/a/b/c.pdf"), QByteArray("c.pdf"));
    EXPECT_EQ(fileNameOf("/a/b/dir/"), QByteArray("dir"));
}
