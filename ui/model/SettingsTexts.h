#pragma once

#include "core/ExpirySettings.h"

#include <QString>

namespace dowsel {

class Preferences;

inline constexpr int minimumStepperValue = 1;
inline constexpr int maximumStepperValue = 999;

// The expiry value as the settings page shows it: the stored integer as it is (0 stays 0),
// 1 when absent or not an integer. Readers that act on it clamp (currentExpiryValue).
qint64 storedExpiryValue(const Preferences &prefs);

// The value after one stepper click; the stepper keeps to 1...999 even from a typed 0 or 5000.
qint64 steppedExpiryValue(qint64 current, int step);

// "Hour", "Hours", "Minutes": the unit word for the value, first letter capitalised.
QString unitPickerLabel(ExpiryUnit unit, qint64 value);

// "Files you mark as temporary will be moved to the Trash 1 hour after you mark them."
QString expiryFooterText(const Preferences &prefs);

// "Mark as temporary (auto-deletes after 1 hour)"
QString markTemporaryHelpText(const Preferences &prefs);

} // namespace dowsel
