#include "core/ExpirySettings.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>

namespace dowsel {

QString rawValue(ExpiryUnit unit)
{
    switch (unit) {
    case ExpiryUnit::minutes:
        return QStringLiteral("minutes");
    case ExpiryUnit::hours:
        return QStringLiteral("hours");
    case ExpiryUnit::days:
        return QStringLiteral("days");
    }
    return QStringLiteral("hours");
}

std::optional<ExpiryUnit> expiryUnitFromRaw(const QString &raw)
{
    for (ExpiryUnit unit : allExpiryUnits) {
        if (rawValue(unit) == raw)
            return unit;
    }
    return std::nullopt;
}

Seconds seconds(ExpiryUnit unit)
{
    switch (unit) {
    case ExpiryUnit::minutes:
        return 60;
    case ExpiryUnit::hours:
        return 3600;
    case ExpiryUnit::days:
        return 86400;
    }
    return 3600;
}

QString displayName(ExpiryUnit unit, qint64 count)
{
    const bool one = count == 1;
    switch (unit) {
    case ExpiryUnit::minutes:
        return one ? QCoreApplication::translate("ExpiryUnit", "minute") : QCoreApplication::translate("ExpiryUnit", "minutes");
    case ExpiryUnit::hours:
        return one ? QCoreApplication::translate("ExpiryUnit", "hour") : QCoreApplication::translate("ExpiryUnit", "hours");
    case ExpiryUnit::days:
        return one ? QCoreApplication::translate("ExpiryUnit", "day") : QCoreApplication::translate("ExpiryUnit", "days");
    }
    return {};
}

int currentExpiryValue(const Preferences &prefs)
{
    // Whole numbers of any size count as integers and are clamped, 1e20 included; JSON holds
    // them as doubles, so they are compared as doubles.
    const auto stored = prefs.value(prefkeys::expiryValue);
    if (!stored || !stored->isDouble())
        return 1;
    const double number = stored->toDouble();
    if (!std::isfinite(number) || std::trunc(number) != number)
        return 1;
    return int(std::clamp(number, 1.0, 999.0));
}

ExpiryUnit currentExpiryUnit(const Preferences &prefs)
{
    const auto stored = prefs.text(prefkeys::expiryUnit);
    if (!stored)
        return ExpiryUnit::hours;
    return expiryUnitFromRaw(*stored).value_or(ExpiryUnit::hours);
}

bool autoZipApplyEnabled(const Preferences &prefs)
{
    return prefs.boolean(prefkeys::autoZipApply).value_or(true);
}

Seconds defaultExpiryInterval(const Preferences &prefs)
{
    return currentExpiryValue(prefs) * seconds(currentExpiryUnit(prefs));
}

bool expiryFits(Seconds interval, Date now)
{
    return interval > 0 && std::isfinite(interval) && now + interval <= latestExpiryDate;
}

QString expiryLabel(const Preferences &prefs)
{
    const int value = currentExpiryValue(prefs);
    return QString::number(value) + QLatin1Char(' ') + displayName(currentExpiryUnit(prefs), value);
}

} // namespace dowsel
