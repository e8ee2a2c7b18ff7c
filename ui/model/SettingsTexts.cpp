#include "ui/model/SettingsTexts.h"

#include "platform/Preferences.h"

#include <QCoreApplication>

#include <algorithm>

namespace dowsel {

qint64 storedExpiryValue(const Preferences &prefs)
{
    return prefs.integer(prefkeys::expiryValue).value_or(1);
}

qint64 steppedExpiryValue(qint64 current, int step)
{
    return std::clamp<qint64>(current + step, minimumStepperValue, maximumStepperValue);
}

QString unitPickerLabel(ExpiryUnit unit, qint64 value)
{
    QString word = displayName(unit, value);
    if (!word.isEmpty())
        word[0] = word[0].toUpper();
    return word;
}

QString expiryFooterText(const Preferences &prefs)
{
    const qint64 value = storedExpiryValue(prefs);
    return QCoreApplication::translate("SettingsPage",
                                       "Files you mark as temporary will be moved to the Trash %1 %2 after you mark them.")
        .arg(value)
        .arg(displayName(currentExpiryUnit(prefs), value));
}

QString markTemporaryHelpText(const Preferences &prefs)
{
    const int value = currentExpiryValue(prefs);
    return QCoreApplication::translate("IgnoredFileRow", "Mark as temporary (auto-deletes after %1 %2)")
        .arg(value)
        .arg(displayName(currentExpiryUnit(prefs), value));
}

} // namespace dowsel
