#pragma once

#include "platform/Notifier.h"

#include <QDBusConnection>
#include <QObject>
#include <QPointer>

class QVBoxLayout;
class QWidget;

namespace dowsel {

// Desktop notifications through org.freedesktop.Notifications on the session bus. Where no
// service answers, the notices go to a small panel of Dowsel's own in the top right corner
// of the screen, which stays until the user closes it.
class FreedesktopNotifier final : public QObject, public Notifier {
    Q_OBJECT
public:
    explicit FreedesktopNotifier(QDBusConnection bus = QDBusConnection::sessionBus(), QObject *parent = nullptr);
    ~FreedesktopNotifier() override;

    // Any thread: the notice is sent from the thread of this object (the main thread).
    void notify(const Notice &notice) override;
    // Main thread, for a notice the process must not outlive: waits up to `timeoutMs` for
    // the service to take it, else shows the panel and returns only once it is closed.
    void notifyAndWait(const Notice &notice, int timeoutMs = 5000);

    // The panel, while it is up (for tests).
    QWidget *panel() const { return m_panel; }

private:
    void send(const Notice &notice);
    void showPanel(const Notice &notice);

    QDBusConnection m_bus;
    QPointer<QWidget> m_panel;
    QVBoxLayout *m_panelNotices = nullptr;
};

} // namespace dowsel
