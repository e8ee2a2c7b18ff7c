#include "input/TimeInputViewModel.h"

#include <QCoreApplication>
#include <QRegularExpression>

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

// The locale's short time without seconds: some locales (C among them) put seconds in their
// short format, and an expiry to the second reads as noise.
QString timeWithoutSeconds(const QTime &time, const QLocale &locale)
{
    static const QRegularExpression seconds(QStringLiteral("[:.]?s{1,2}"));
    QString format = locale.timeFormat(QLocale::ShortFormat);
    format.remove(seconds);
    return locale.toString(time, format.trimmed());
}

QString expiryPreviewText(const QDateTime &now, const QDateTime &expiry, const QLocale &locale)
{
    const QDateTime localNow = now.toLocalTime();
    const QDateTime localExpiry = expiry.toLocalTime();
    const QString time = timeWithoutSeconds(localExpiry.time(), locale);
    const QDate day = localExpiry.date();
    if (day == localNow.date())
        return QCoreApplication::translate("TimeInputView", "Expires %1 today").arg(time);
    if (day == localNow.date().addDays(1))
        return QCoreApplication::translate("TimeInputView", "Expires %1 tomorrow").arg(time);
    return QCoreApplication::translate("TimeInputView", "Expires %1 at %2")
        .arg(locale.toString(day, QStringLiteral("ddd, MMM d")), time);
}

} // namespace dowsel
