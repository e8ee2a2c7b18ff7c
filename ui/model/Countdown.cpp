#include "ui/model/Countdown.h"

#include "ui/model/PopoverLists.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>

namespace dowsel {

namespace {

constexpr Seconds oneHour = 3600;
constexpr Seconds threeHours = 3 * oneHour;

CountdownTone toneFor(Seconds remaining)
{
    if (remaining <= 0 || remaining < oneHour)
        return CountdownTone::urgent;
    if (remaining < threeHours)
        return CountdownTone::soon;
    return CountdownTone::calm;
}

} // namespace

QString formatRemaining(Seconds remaining)
{
    // Whole minutes only, rounded down: 59 min 59 s still reads "59m".
    const qint64 minutes = qint64(std::floor(std::max<Seconds>(remaining, 0) / 60));
    if (minutes < 60)
        return QCoreApplication::translate("CountdownIndicator", "%1m").arg(minutes);
    const qint64 hours = minutes / 60;
    const qint64 restMinutes = minutes % 60;
    if (restMinutes == 0)
        return QCoreApplication::translate("CountdownIndicator", "%1h").arg(hours);
    return QCoreApplication::translate("CountdownIndicator", "%1h %2m").arg(hours).arg(restMinutes);
}

double countdownProgress(std::optional<Date> markedAt, std::optional<Date> expiresAt, Date now)
{
    if (!markedAt || !expiresAt)
        return 0;
    const Seconds span = *expiresAt - *markedAt;
    if (!(span > 0))
        return 0;
    return std::clamp((*expiresAt - now) / span, 0.0, 1.0);
}

std::optional<CountdownContent> countdownContent(std::optional<Date> markedAt, std::optional<Date> expiresAt, Date now)
{
    if (!expiresAt)
        return std::nullopt;
    const Seconds remaining = std::max<Seconds>(0, *expiresAt - now);
    qCDebug(lcPopover).noquote() << "CountdownIndicator.content: marked=" + optionalDateDescription(markedAt)
                                        + " exp=" + dateDescription(*expiresAt) + " now=" + dateDescription(now)
                                        + " remaining=" + QString::number(qint64(remaining)) + "s progress="
                                        + QString::number(countdownProgress(markedAt, expiresAt, now));
    QString text;
    if (remaining <= 0)
        text = QCoreApplication::translate("CountdownIndicator", "Deleting…");
    else if (remaining < 60)
        text = QCoreApplication::translate("CountdownIndicator", "<1m");
    else
        text = formatRemaining(remaining);
    return CountdownContent{text, toneFor(remaining), remaining};
}

} // namespace dowsel
