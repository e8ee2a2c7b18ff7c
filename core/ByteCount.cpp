#include "core/ByteCount.h"

#include <QCoreApplication>

#include <array>
#include <cmath>

namespace dowsel {

QString formatByteCount(qint64 bytes)
{
    if (bytes == 0)
        return QCoreApplication::translate("ByteCount", "Zero KB");
    const QString sign = bytes < 0 ? QStringLiteral("-") : QString();
    const double magnitude = std::fabs(double(bytes));
    if (magnitude < 1000) {
        return sign + (magnitude == 1 ? QCoreApplication::translate("ByteCount", "1 byte")
                                      : QCoreApplication::translate("ByteCount", "%1 bytes").arg(qint64(magnitude)));
    }
    // KB without decimals, MB with one, larger units with two; trailing zeros dropped.
    struct Step {
        const char *unit;
        int decimals;
    };
    static constexpr std::array<Step, 5> steps{{{"KB", 0}, {"MB", 1}, {"GB", 2}, {"TB", 2}, {"PB", 2}}};
    double value = magnitude / 1000;
    for (size_t i = 0; i < steps.size(); ++i) {
        const double scale = std::pow(10.0, steps[i].decimals);
        const double rounded = std::round(value * scale) / scale;
        if (rounded < 1000 || i + 1 == steps.size()) {
            QString number = QString::number(rounded, 'f', steps[i].decimals);
            if (number.contains(QLatin1Char('.'))) {
                while (number.endsWith(QLatin1Char('0')))
                    number.chop(1);
                if (number.endsWith(QLatin1Char('.')))
                    number.chop(1);
            }
            return sign + number + QLatin1Char(' ') + QLatin1String(steps[i].unit);
        }
        value /= 1000;
    }
    return {};
}

} // namespace dowsel
