#pragma once

#include <QLocale>

class QCoreApplication;

namespace dowsel {

// Installs Dowsel's texts and Qt's own for `locale` (the system's by default). English needs
// nothing; returns whether Dowsel's texts were found for the locale.
bool installTranslations(QCoreApplication &app, const QLocale &locale = QLocale());

} // namespace dowsel
