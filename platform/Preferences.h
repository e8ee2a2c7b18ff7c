#pragma once

#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <optional>

namespace dowsel {

// The user-defaults store: typed values by key, where an absent key is distinct from any
// stored value. Safe to use from any thread; every read sees the latest stored state.
class Preferences {
public:
    virtual ~Preferences() = default;

    virtual std::optional<QJsonValue> value(const QString &key) const = 0;
    virtual void setValue(const QString &key, const QJsonValue &value) = 0;
    virtual void remove(const QString &key) = 0;

    // Present and a whole number (JSON keeps "12" and 12 apart).
    std::optional<qint64> integer(const QString &key) const;
    // Present and a text.
    std::optional<QString> text(const QString &key) const;
    // Present, read as a boolean the forgiving way: true, non-zero numbers and the texts
    // "true", "yes" and "1" are true; every other stored value is false.
    std::optional<bool> boolean(const QString &key) const;
    // Present and a list; entries that are not texts are left out.
    std::optional<QStringList> textList(const QString &key) const;
};

namespace prefkeys {
inline const QString expiryValue = QStringLiteral("expiryValue");
inline const QString expiryUnit = QStringLiteral("expiryUnit");
inline const QString autoZipApply = QStringLiteral("autoZipApply");
inline const QString hasCompletedOnboarding = QStringLiteral("hasCompletedOnboarding");
inline const QString moveDestinations = QStringLiteral("MoveMRU.destinations");
} // namespace prefkeys

} // namespace dowsel
