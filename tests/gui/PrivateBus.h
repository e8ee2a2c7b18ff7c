#pragma once

#include <QFile>
#include <QProcess>
#include <QString>
#include <QTemporaryFile>

namespace dowsel::testing {

// A session bus of the test's own: a dbus-daemon with no service directories, so that a
// portal or a Dowsel installed on the machine never answers in place of the test's objects.
class PrivateBus {
public:
    ~PrivateBus()
    {
        m_daemon.terminate();
        m_daemon.waitForFinished(5000);
    }

    // The bus's address, or an empty one with `problem` saying why it did not start.
    QString start(QString *problem)
    {
        QFile standard(QStringLiteral("/usr/share/dbus-1/session.conf"));
        if (!standard.open(QIODevice::ReadOnly) || !m_config.open()) {
            *problem = QStringLiteral("no session bus configuration");
            return {};
        }
        for (const QByteArray &line : standard.readAll().split('\n')) {
            if (!line.contains("standard_session_servicedirs") && !line.contains("<include"))
                m_config.write(line + '\n');
        }
        m_config.close();
        m_daemon.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--config-file=") + m_config.fileName(),
                                                       QStringLiteral("--nofork"), QStringLiteral("--print-address=1")});
        if (!m_daemon.waitForReadyRead(10000)) {
            *problem = QStringLiteral("dbus-daemon did not start");
            return {};
        }
        return QString::fromUtf8(m_daemon.readLine()).trimmed();
    }

private:
    QTemporaryFile m_config;
    QProcess m_daemon;
};

} // namespace dowsel::testing
