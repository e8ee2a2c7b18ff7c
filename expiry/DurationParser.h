#pragma once

#include "platform/Time.h"

#include <QString>

#include <optional>
#include <vector>

namespace dowsel {

struct ParsedDuration {
    Seconds interval = 0; // always > 0
    QString echo;         // what the user sees, e.g. "1d 4h"
    bool operator==(const ParsedDuration &) const = default;
};

// Free text such as "2h", "30 min", "1d 4h", "1,5 horas" or "dentro de 3 días" to seconds.
// English and Spanish unit words; anything unusable gives no value.
namespace DurationParser {

enum class Unit { seconds, minutes, hours, days, weeks };

struct Token {
    double value = 0; // > 0
    QString unit;     // the word as matched, lower case
};

Seconds unitSeconds(Unit unit);
std::optional<Unit> unitForWord(const QString &word);
std::vector<Token> tokenize(const QString &prepared);
std::optional<ParsedDuration> parse(const QString &text);

// Descending units (w, d, h, m, s), at most two, zero units dropped: "2h", "1d 4h", "1w 1d".
// Empty when every unit is zero.
QString formatEcho(Seconds interval);

} // namespace DurationParser

} // namespace dowsel
