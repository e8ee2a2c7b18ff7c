// A stand-in for the desktop's notification service on a private session bus: it takes the
// name org.freedesktop.Notifications and writes every Notify call it gets, one JSON object a
// line, to the file named on its command line.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QVariantMap>

#include <cstdio>

class FakeNotifications : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    explicit FakeNotifications(const QString &logPath) : m_log(logPath) {}

public Q_SLOTS:
    uint Notify(const QString &appName, uint replacesId, const QString &appIcon, const QString &summary,
                const QString &body, const QStringList &actions, const QVariantMap &hints, int expireTimeout)
    {
        Q_UNUSED(replacesId)
        Q_UNUSED(actions)
        const QJsonObject line{
            {QStringLiteral("app"), appName},
            {QStringLiteral("icon"), appIcon},
            {QStringLiteral("summary"), summary},
            {QStringLiteral("body"), body},
            {QStringLiteral("urgency"), hints.value(QStringLiteral("urgency")).toInt()},
            {QStringLiteral("timeout"), expireTimeout},
        };
        QFile file(m_log);
        if (file.open(QIODevice::Append)) {
            file.write(QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n');
            file.close();
        }
        return ++m_lastId;
    }
    QStringList GetCapabilities() { return {QStringLiteral("body")}; }
    QString GetServerInformation(QString &vendor, QString &version, QString &specVersion)
    {
        vendor = QStringLiteral("dowsel tests");
        version = QStringLiteral("1");
        specVersion = QStringLiteral("1.2");
        return QStringLiteral("fake-notifications");
    }
    void CloseNotification(uint) {}

private:
    QString m_log;
    uint m_lastId = 0;
};

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s LOG\n", argv[0]);
        return 2;
    }
    FakeNotifications service(QString::fromLocal8Bit(argv[1]));
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerObject(QStringLiteral("/org/freedesktop/Notifications"), &service, QDBusConnection::ExportAllSlots)
        || !bus.registerService(QStringLiteral("org.freedesktop.Notifications"))) {
        std::fprintf(stderr, "cannot serve org.freedesktop.Notifications: %s\n",
                     qPrintable(bus.lastError().message()));
        return 1;
    }
    std::puts("ready");
    std::fflush(stdout);
    return app.exec();
}

#include "fake_notifications.moc"
