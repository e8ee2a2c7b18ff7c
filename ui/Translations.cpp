#include "ui/Translations.h"

#include "core/Logging.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>

namespace dowsel {

bool installTranslations(QCoreApplication &app, const QLocale &locale)
{
    auto *qtTexts = new QTranslator(&app);
    if (qtTexts->load(locale, QStringLiteral("qtbase"), QStringLiteral("_"),
                      QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(qtTexts);
    else
        delete qtTexts;

    // Built from ui/translations/*.ts and embedded in the binary.
    auto *dowselTexts = new QTranslator(&app);
    if (dowselTexts->load(locale, QStringLiteral("dowsel"), QStringLiteral("_"), QStringLiteral(":/i18n"))) {
        QCoreApplication::installTranslator(dowselTexts);
        return true;
    }
    delete dowselTexts;
    qCDebug(lcApp).noquote() << "installTranslations: no texts for " + locale.name() + ", using English";
    return false;
}

} // namespace dowsel
