#pragma once

#include <QObject>

#include <csignal>
#include <initializer_list>

class QSocketNotifier;

namespace dowsel {

// Turns Unix signals into a Qt signal on the main thread (self-pipe), so the app can quit
// through its event loop and tear down cleanly.
class SignalHandler final : public QObject {
    Q_OBJECT
public:
    explicit SignalHandler(std::initializer_list<int> signalNumbers, QObject *parent = nullptr);
    ~SignalHandler() override;

Q_SIGNALS:
    void received(int signalNumber);

private:
    QSocketNotifier *m_notifier = nullptr;
};

} // namespace dowsel
