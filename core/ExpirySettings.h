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

// The latest expiry Dowsel keeps: 9999-12-31 23:59:59 UTC, the last date that a four-digit
// ISO 8601 year writes. A keep that would end later is refused where it is asked for.
inline constexpr Date latestExpiryDate = 253402300799.0;
// Whether a keep of `interval` seconds from `now` ends at a date Dowsel can hold.
bool expiryFits(Seconds interval, Date now);
QString expiryLabel(const Preferences &prefs); // "1 hour", "30 minutes"

} // namespace dowsel
