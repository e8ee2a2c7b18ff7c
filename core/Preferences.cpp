#include "platform/Preferences.h"

#include <QJsonArray>

#include <cmath>

namespace dowsel {

std::optional<qint64> Preferences::integer(const QString &key) const
{
    const auto stored = value(key);
    if (!stored || !stored->isDouble())
        return std::nullopt;
    const double number = stored->toDouble();
    if (!std::isfinite(number) || std::trunc(number) != number || std::fabs(number) > 9.0e15)
        return std::nullopt;
    return static_cast<qint64>(number);
}

std::optional<QString> Preferences::text(const QString &key) const
{
    const auto stored = value(key);
    if (!stored || !stored->isString())
        return std::nullopt;
    return stored->toString();
}

std::optional<bool> Preferences::boolean(const QString &key) const
{
    const auto stored = value(key);
    if (!stored)
        return std::nullopt;
    switch (stored->type()) {
    case QJsonValue::Bool:
        return stored->toBool();
    case QJsonValue::Double:
        return stored->toDouble() != 0.0;
    case QJsonValue::String: {
        const QString text = stored->toString().trimmed().toLower();
        return text == u"true" || text == u"yes" || text == u"1";
    }
    default:
        return false;
    }
}

std::optional<QStringList> Preferences::textList(const QString &key) const
{
    const auto stored = value(key);
    if (!stored || !stored->isArray())
        return std::nullopt;
    QStringList list;
    for (const QJsonValue &entry : stored->toArray()) {
        if (entry.isString())
            list.append(entry.toString());
    }
    return list;
}

} // namespace dowsel
