#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>

// A stand-in for the desktop's org.freedesktop.portal.GlobalShortcuts, for the widget tests
// and the end-to-end runs: every call returns a request object whose Response signal carries
// the outcome, as the portal documents it.
namespace fakeportal {

struct Shortcut {
    QString id;
    QVariantMap properties;
};

} // namespace fakeportal

Q_DECLARE_METATYPE(fakeportal::Shortcut)

namespace fakeportal {

inline QDBusArgument &operator<<(QDBusArgument &argument, const Shortcut &shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

inline const QDBusArgument &operator>>(const QDBusArgument &argument, Shortcut &shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

inline const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
inline const QString portalInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

class FakePortal final : public QDBusVirtualObject {
public:
    explicit FakePortal(QDBusConnection bus) : m_bus(std::move(bus)) {}

    QString introspect(const QString &) const override { return {}; }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &) override
    {
        calls.append(message.member());
        if (message.interface() == u"org.freedesktop.host.portal.Registry" && message.member() == u"Register" && hasRegistry) {
            registeredAppId = message.arguments().value(0).toString();
            m_bus.send(message.createReply());
            return true;
        }
        if (message.interface() != portalInterface)
            return false;
        const int optionsAt = message.member() == u"CreateSession" ? 0 : message.member() == u"ListShortcuts" ? 1 : 3;
        const QVariant optionsArgument = message.arguments().value(optionsAt);
        const QVariantMap options = qdbus_cast<QVariantMap>(optionsArgument.value<QDBusArgument>());
        QString sender = message.service().mid(1);
        sender.replace(QLatin1Char('.'), QLatin1Char('_'));
        const QString request = portalPath + QStringLiteral("/request/") + sender + QLatin1Char('/')
                                + options.value(QStringLiteral("handle_token")).toString();
        m_bus.send(message.createReply(QVariant::fromValue(QDBusObjectPath(request))));
        uint response = 0;
        QVariantMap results;
        if (message.member() == u"CreateSession") {
            ++sessionsCreated;
            session = portalPath + QStringLiteral("/session/") + sender + QLatin1Char('/')
                      + options.value(QStringLiteral("session_handle_token")).toString();
            results[QStringLiteral("session_handle")] =
                sessionHandleAsObjectPath ? QVariant::fromValue(QDBusObjectPath(session)) : QVariant(session);
        } else if (message.member() == u"ListShortcuts") {
            results[QStringLiteral("shortcuts")] = QVariant::fromValue(remembered);
        } else if (message.member() == u"BindShortcuts") {
            ++bindCalls;
            boundSession = message.arguments().value(0).value<QDBusObjectPath>().path();
            message.arguments().value(1).value<QDBusArgument>() >> requested;
            response = userDeclines ? 1 : 0;
            // KDE Plasma 5.27 answers with no shortcuts and lets the user assign keys later.
            if (!userDeclines)
                results[QStringLiteral("shortcuts")] = QVariant::fromValue(assignsKeysLater ? QList<Shortcut>() : requested);
        } else {
            return false;
        }
        QDBusMessage signal = QDBusMessage::createSignal(request, QStringLiteral("org.freedesktop.portal.Request"),
                                                         QStringLiteral("Response"));
        signal << response << results;
        m_bus.send(signal);
        return true;
    }

    void emitSignal(const QString &name, const QString &sessionPath, const QString &id, const QVariantMap &options = {})
    {
        QDBusMessage signal = QDBusMessage::createSignal(portalPath, portalInterface, name);
        signal << QVariant::fromValue(QDBusObjectPath(sessionPath)) << id << qulonglong(1234) << options;
        m_bus.send(signal);
    }

    // The user gave the shortcuts keys in the desktop's settings (or took them away).
    void emitShortcutsChanged(bool withKeys)
    {
        QDBusMessage signal = QDBusMessage::createSignal(portalPath, portalInterface, QStringLiteral("ShortcutsChanged"));
        signal << QVariant::fromValue(QDBusObjectPath(session))
               << QVariant::fromValue(withKeys ? requested : QList<Shortcut>());
        m_bus.send(signal);
    }

    QString preferredTrigger(const QString &id) const
    {
        for (const Shortcut &shortcut : requested) {
            if (shortcut.id == id)
                return shortcut.properties.value(QStringLiteral("preferred_trigger")).toString();
        }
        return {};
    }

    // What the desktop still holds from an earlier start, as ListShortcuts answers.
    QList<Shortcut> remembered;
    // A portal of 1.19 or later, where a program started outside its desktop entry names itself.
    bool hasRegistry = true;
    QString registeredAppId;
    QStringList calls;
    bool userDeclines = false;
    bool assignsKeysLater = false;
    bool sessionHandleAsObjectPath = false;
    int sessionsCreated = 0;
    int bindCalls = 0;
    QString session;
    QString boundSession;
    QList<Shortcut> requested;

private:
    QDBusConnection m_bus;
};

} // namespace fakeportal
