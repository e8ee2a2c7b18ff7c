#pragma once

#include "platform/Preferences.h"
#include "platform/Time.h"

#include <QString>

#include <array>
#include <optional>

namespace dowsel {

enum class ExpiryUnit { minutes, hours, days };

inline constexpr std::array<ExpiryUnit, 3> allExpiryUnits{ExpiryUnit::minutes, ExpiryUnit::hours, ExpiryUnit::days};

QString rawValue(ExpiryUnit unit);
std::optional<ExpiryUnit> expiryUnitFromRaw(const QString &raw); // exact, case-sensitive
Seconds seconds(ExpiryUnit unit);
// The unit word, translated: singular for exactly 1, plural for every other count.
QString displayName(ExpiryUnit unit, qint64 count);

// Each reads the preferences afresh, so a new setting applies to the next file marked.
int currentExpiryValue(const Preferences &prefs);      // 1...999, 1 when absent or not an integer
ExpiryUnit currentExpiryUnit(const Preferences &prefs); // hours unless a known raw value is stored
bool autoZipApplyEnabled(const Preferences &prefs);    // true when absent
Seconds defaultExpiryInterval(const Preferences &prefs);
QString expiryLabel(const Preferences &prefs); // "1 hour", "30 minutes"

} // namespace dowsel
