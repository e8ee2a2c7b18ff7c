// Stands in for the desktop's GlobalShortcuts portal on the end-to-end session bus. With
// --decline the user declines the binding; with --assign-later the binding succeeds without
// keys, as on KDE Plasma 5.27, until
//   dbus-send --session --dest=org.freedesktop.portal.Desktop /fake app.dowsel.FakePortal.AssignKeys
// A test fires a shortcut with
//   dbus-send --session --dest=org.freedesktop.portal.Desktop /fake app.dowsel.FakePortal.Activate string:keep
// which sends Activated, then Deactivated, for the session Dowsel created; with a second
// argument, string:TOKEN, Activated carries it as its activation_token.
#include "../gui/FakePortal.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstring>

namespace {

class Control final : public QDBusVirtualObject {
public:
    Control(QDBusConnection bus, fakeportal::FakePortal &portal) : m_bus(std::move(bus)), m_portal(portal) {}

    QString introspect(const QString &) const override { return {}; }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &) override
    {
        if (message.member() == u"AssignKeys") {
            m_portal.emitShortcutsChanged(true);
            m_bus.send(message.createReply());
            return true;
        }
        if (message.member() != u"Activate")
            return false;
        const QString id = message.arguments().value(0).toString();
        QVariantMap options;
        if (message.arguments().size() > 1)
            options[QStringLiteral("activation_token")] = message.arguments().value(1).toString();
        m_portal.emitSignal(QStringLiteral("Activated"), m_portal.session, id, options);
        m_portal.emitSignal(QStringLiteral("Deactivated"), m_portal.session, id);
        m_bus.send(message.createReply());
        return true;
    }

private:
    QDBusConnection m_bus;
    fakeportal::FakePortal &m_portal;
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    qDBusRegisterMetaType<fakeportal::Shortcut>();
    qDBusRegisterMetaType<QList<fakeportal::Shortcut>>();
    QDBusConnection bus = QDBusConnection::sessionBus();
    fakeportal::FakePortal portal(bus);
    portal.userDeclines = argc > 1 && std::strcmp(argv[1], "--decline") == 0;
    portal.assignsKeysLater = argc > 1 && std::strcmp(argv[1], "--assign-later") == 0;
    Control control(bus, portal);
    if (!bus.registerVirtualObject(fakeportal::portalPath, &portal) || !bus.registerVirtualObject(QStringLiteral("/fake"), &control)
        || !bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop"))) {
        std::fprintf(stderr, "fake portal: cannot take the portal's name: %s\n", qPrintable(bus.lastError().message()));
        return 1;
    }
    std::puts("ready");
    std::fflush(stdout);
    return app.exec();
}
