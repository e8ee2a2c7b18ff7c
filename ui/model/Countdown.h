#pragma once

#include "platform/Time.h"

#include <QString>

#include <optional>

namespace dowsel {

// How urgent a countdown looks: red under an hour (and at expiry), orange under three hours,
// the secondary text colour beyond.
enum class CountdownTone { urgent, soon, calm };

struct CountdownContent {
    QString text; // "Deleting…", "<1m", "45m", "2h 5m", "30h"
    CountdownTone tone;
    Seconds remaining; // never negative
};

// What a temporary file's countdown shows at `now`; nothing for a file without an expiry.
std::optional<CountdownContent> countdownContent(std::optional<Date> markedAt, std::optional<Date> expiresAt, Date now);

// The time left in abbreviated units, at most two: minutes alone below an hour, hours and
// minutes from an hour on ("45m", "2h 5m", "30h").
QString formatRemaining(Seconds remaining);

// The share of the marked span still left, 0...1; 0 when a time is missing or the span is empty.
double countdownProgress(std::optional<Date> markedAt, std::optional<Date> expiresAt, Date now);

// How often the countdowns are redrawn.
inline constexpr int countdownTickMilliseconds = 10'000;

} // namespace dowsel
