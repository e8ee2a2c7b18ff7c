#include "platform/fake/MemoryPreferences.h"
#include "ui/model/FileUri.h"
#include "ui/model/PopoverPlacement.h"
#include "ui/model/SettingsTexts.h"
#include "ui/model/SupportMail.h"

#include <QUrlQuery>

#include <gtest/gtest.h>

using namespace dowsel;

namespace {

QStringList pickerLabels(qint64 value)
{
    QStringList labels;
    for (ExpiryUnit unit : allExpiryUnits)
        labels.append(unitPickerLabel(unit, value));
    return labels;
}

const QString footerLead = QStringLiteral("Files you mark as temporary will be moved to the Trash ");
const QString footerTail = QStringLiteral(" after you mark them.");

TEST(SettingsTexts, EmptyPreferencesReadAsOneHour)
{
    MemoryPreferences prefs;
    EXPECT_EQ(storedExpiryValue(prefs), 1);
    EXPECT_EQ(pickerLabels(1), (QStringList{"Minute", "Hour", "Day"}));
    EXPECT_EQ(expiryFooterText(prefs), footerLead + "1 hour" + footerTail);
    EXPECT_EQ(markTemporaryHelpText(prefs), QStringLiteral("Mark as temporary (auto-deletes after 1 hour)"));
}

TEST(SettingsTexts, TheFooterShowsTheStoredValueWhileTheHelpTextShowsWhatApplies)
{
    MemoryPreferences prefs;
    prefs.setValue(prefkeys::expiryValue, 0);
    EXPECT_EQ(storedExpiryValue(prefs), 0);
    EXPECT_EQ(pickerLabels(0), (QStringList{"Minutes", "Hours", "Days"}));
    EXPECT_EQ(expiryFooterText(prefs), footerLead + "0 hours" + footerTail);
    EXPECT_EQ(markTemporaryHelpText(prefs), QStringLiteral("Mark as temporary (auto-deletes after 1 hour)"));

    prefs.setValue(prefkeys::expiryValue, 5000);
    prefs.setValue(prefkeys::expiryUnit, QStringLiteral("days"));
    EXPECT_EQ(expiryFooterText(prefs), footerLead + "5000 days" + footerTail);
    EXPECT_EQ(markTemporaryHelpText(prefs), QStringLiteral("Mark as temporary (auto-deletes after 999 days)"));

    // A text where a number belongs, and a unit that is not one: the defaults.
    prefs.setValue(prefkeys::expiryValue, QStringLiteral("30"));
    prefs.setValue(prefkeys::expiryUnit, QStringLiteral("Minutes"));
    EXPECT_EQ(expiryFooterText(prefs), footerLead + "1 hour" + footerTail);
}

TEST(SettingsTexts, TheStepperKeepsToOneThroughNineHundredNinetyNine)
{
    EXPECT_EQ(steppedExpiryValue(5, +1), 6);
    EXPECT_EQ(steppedExpiryValue(5, -1), 4);
    EXPECT_EQ(steppedExpiryValue(1, -1), 1);
    EXPECT_EQ(steppedExpiryValue(999, +1), 999);
    EXPECT_EQ(steppedExpiryValue(0, -1), 1);
    EXPECT_EQ(steppedExpiryValue(-40, +1), 1);
    EXPECT_EQ(steppedExpiryValue(5000, -1), 999);
}

TEST(SupportMail, BodyNamesVersionBuildAndSystemWithQuestionMarksWhenUnknown)
{
    EXPECT_EQ(supportMailBody(QString(), QString(), QStringLiteral("Debian GNU/Linux 12 (bookworm), Linux 6.1.0")),
              QStringLiteral("[describe what's up here]\n\n\u2014\u2014\u2014\nDowsel ? (?)\n"
                             "Debian GNU/Linux 12 (bookworm), Linux 6.1.0"));
    EXPECT_TRUE(supportMailBody(QStringLiteral("1.2"), QStringLiteral("45"), QStringLiteral("X"))
                    .endsWith(QStringLiteral("\u2014\u2014\u2014\nDowsel 1.2 (45)\nX")));
}

TEST(SupportMail, TheAddressCarriesSubjectAndBodyIntact)
{
    const QString body = QStringLiteral("a & b = c + d #5 ?x 100%\n\u2014 ünï");
    const QUrl url = supportMailUrl(body);
    EXPECT_EQ(url.scheme(), QStringLiteral("mailto"));
    EXPECT_EQ(url.path(), QString::fromLatin1(supportMailbox));
    const QUrlQuery query(url);
    EXPECT_EQ(query.queryItemValue(QStringLiteral("subject"), QUrl::FullyDecoded), QStringLiteral("Dowsel support"));
    EXPECT_EQ(query.queryItemValue(QStringLiteral("body"), QUrl::FullyDecoded), body);
    EXPECT_EQ(query.queryItems().size(), 2);
}

TEST(SupportMail, SystemLineComesFromOsReleaseAndTheKernel)
{
    EXPECT_EQ(systemDescription("NAME=\"Debian\"\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nID=debian\n",
                                QStringLiteral("6.1.0-18-amd64")),
              QStringLiteral("Debian GNU/Linux 12 (bookworm), Linux 6.1.0-18-amd64"));
    EXPECT_EQ(systemDescription("PRETTY_NAME='Arch \\\"Linux\\\"'", QStringLiteral("6.8")),
              QStringLiteral("Arch \"Linux\", Linux 6.8"));
    EXPECT_EQ(systemDescription("PRETTY_NAME=Plain", QString()), QStringLiteral("Plain"));
    EXPECT_EQ(systemDescription(QByteArray(), QStringLiteral("6.1")), QStringLiteral("Linux, Linux 6.1"));
    EXPECT_EQ(systemDescription("PRETTY_NAME=\"\"", QStringLiteral("6.1")), QStringLiteral("Linux, Linux 6.1"));
    EXPECT_FALSE(currentSystemDescription().isEmpty());
}

TEST(FileUri, ExactBytesSurviveTheRoundTrip)
{
    const QByteArray path = "/home/u/Downloads/a b#?%\xff\xfe\n-x.pdf";
    const QUrl url = fileUrlOf(path);
    ASSERT_TRUE(url.isValid());
    EXPECT_EQ(url.scheme(), QStringLiteral("file"));
    EXPECT_EQ(QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()), path);
    EXPECT_FALSE(url.hasQuery());
    EXPECT_FALSE(url.hasFragment());
    EXPECT_EQ(parentFolderUrlOf(path).path(), QStringLiteral("/home/u/Downloads"));
    EXPECT_EQ(parentFolderUrlOf("/top").path(), QStringLiteral("/"));
}

TEST(PopoverPlacement, HangsUnderATopTrayAndSitsOverABottomOneInsideTheScreen)
{
    const QRect screen(0, 30, 1920, 1050); // a top panel of 30
    const QSize size(360, 440);
    EXPECT_EQ(popoverPosition(QRect(900, 4, 22, 22), size, screen), QPoint(730, 30));
    EXPECT_EQ(popoverPosition(QRect(1890, 4, 22, 22), size, screen), QPoint(1560, 30));
    EXPECT_EQ(popoverPosition(QRect(900, 40, 22, 22), size, screen), QPoint(730, 66));
    EXPECT_EQ(popoverPosition(QRect(10, 1050, 22, 22), size, screen), QPoint(0, 606));
    EXPECT_EQ(popoverPosition(QRect(QPoint(500, 10), QSize()), size, screen), QPoint(320, 30));
}

} // namespace
