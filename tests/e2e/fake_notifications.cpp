// A stand-in for the desktop's notification service on a private session bus: it takes the
// name org.freedesktop.Notifications and writes each Notify call it gets into the folder named
// on its command line, as N.body, N.urgency, N.app and, last, N.summary (N counts from 1), so
// that a shell script reads them with cat.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QFile>
#include <QObject>
#include <QVariantMap>

#include <cstdio>

class FakeNotifications : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    explicit FakeNotifications(const QString &folder) : m_folder(folder) {}

public Q_SLOTS:
    uint Notify(const QString &appName, uint replacesId, const QString &appIcon, const QString &summary,
                const QString &body, const QStringList &actions, const QVariantMap &hints, int expireTimeout)
    {
        Q_UNUSED(replacesId)
        Q_UNUSED(appIcon)
        Q_UNUSED(actions)
        Q_UNUSED(expireTimeout)
        const uint id = m_lastId + 1;
        write(id, "app", appName);
        write(id, "body", body);
        write(id, "urgency", QString::number(hints.value(QStringLiteral("urgency")).toInt()));
        write(id, "summary", summary);
        return m_lastId = id;
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
    void write(uint id, const char *field, const QString &text)
    {
        QFile file(QStringLiteral("%1/%2.%3").arg(m_folder).arg(id).arg(QLatin1String(field)));
        if (file.open(QIODevice::WriteOnly))
            file.write(text.toUtf8());
    }

    QString m_folder;
    uint m_lastId = 0;
};

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
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
