#include "ui/model/HelpDocuments.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace dowsel {

namespace {

QString fileName(HelpDocument document)
{
    switch (document) {
    case HelpDocument::readme:
        return QStringLiteral("README.md");
    case HelpDocument::privacy:
        return QStringLiteral("PRIVACY.md");
    case HelpDocument::licence:
        return QStringLiteral("LICENSE");
    case HelpDocument::acknowledgements:
        return QStringLiteral("ACKNOWLEDGEMENTS.md");
    }
    return {};
}

} // namespace

QString helpDocumentTitle(HelpDocument document)
{
    switch (document) {
    case HelpDocument::readme:
        return QCoreApplication::translate("dowsel::SettingsPage", "Read Me");
    case HelpDocument::privacy:
        return QCoreApplication::translate("dowsel::SettingsPage", "Privacy Statement");
    case HelpDocument::licence:
        return QCoreApplication::translate("dowsel::SettingsPage", "Licence (GPL 3.0 or later)");
    case HelpDocument::acknowledgements:
        return QCoreApplication::translate("dowsel::SettingsPage", "Acknowledgements");
    }
    return {};
}

QStringList helpDocumentCandidates(HelpDocument document, const QString &applicationDir)
{
    const QString name = fileName(document);
    QStringList candidates{QDir::cleanPath(applicationDir + QStringLiteral("/../share/dowsel/") + name)};
#ifdef DOWSEL_SOURCE_DIR
    candidates << QStringLiteral(DOWSEL_SOURCE_DIR "/") + name;
#endif
    if (document == HelpDocument::licence)
        candidates << QStringLiteral("/usr/share/common-licenses/GPL-3");
    return candidates;
}

QString findHelpDocument(HelpDocument document, const QString &applicationDir)
{
    for (const QString &candidate : helpDocumentCandidates(document, applicationDir)) {
        if (QFileInfo(candidate).isFile())
            return candidate;
    }
    return {};
}

} // namespace dowsel
