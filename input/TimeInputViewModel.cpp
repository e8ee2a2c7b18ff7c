#include "input/TimeInputViewModel.h"

#include <QCoreApplication>

#include <cmath>

namespace dowsel {

void TimeInputViewModel::setQuery(const QString &text)
{
    m_query = text;
    m_parsed = DurationParser::parse(text);
    Q_EMIT changed();
}

void TimeInputViewModel::reset()
{
    m_query.clear();
    m_parsed.reset();
    Q_EMIT changed();
}

QString TimeInputViewModel::hintText()
{
    return QCoreApplication::translate("TimeInputView", "Try: 2h · 30 min · 1d 4h");
}

std::optional<QString> TimeInputViewModel::expiryPreview(const QDateTime &now, const QLocale &locale) const
{
    if (!m_parsed)
        return std::nullopt;
    return expiryPreviewText(now, now.addMSecs(std::llround(m_parsed->interval * 1000)), locale);
}

QString expiryPreviewText(const QDateTime &now, const QDateTime &expiry, const QLocale &locale)
{
    const QDateTime localNow = now.toLocalTime();
    const QDateTime localExpiry = expiry.toLocalTime();
    const QString time = locale.toString(localExpiry.time(), QLocale::ShortFormat);
    const QDate day = localExpiry.date();
    if (day == localNow.date())
        return QCoreApplication::translate("TimeInputView", "Expires %1 today").arg(time);
    if (day == localNow.date().addDays(1))
        return QCoreApplication::translate("TimeInputView", "Expires %1 tomorrow").arg(time);
    return QCoreApplication::translate("TimeInputView", "Expires %1 at %2")
        .arg(locale.toString(day, QStringLiteral("ddd, MMM d")), time);
}

} // namespace dowsel
