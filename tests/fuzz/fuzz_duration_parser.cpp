#include "expiry/DurationParser.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

// Any text: never crash, and every accepted duration is positive, finite, echoed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    if (const auto parsed = dowsel::DurationParser::parse(text)) {
        if (!(parsed->interval > 0) || !std::isfinite(parsed->interval) || parsed->echo.isEmpty())
            std::abort();
        // Parsing the echo (whole units only) gives a duration again, never more than the
        // original.
        if (parsed->interval < 1)
            return 0;
        const auto again = dowsel::DurationParser::parse(parsed->echo);
        if (!again || again->interval > parsed->interval + 1e-6 * parsed->interval)
            std::abort();
    }
    return 0;
}
