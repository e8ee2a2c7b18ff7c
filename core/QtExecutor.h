#pragma once

#include "platform/Executor.h"

#include <QObject>
#include <QPointer>

namespace dowsel {

// Posts tasks to the thread of a QObject (the main thread for qApp) through its event loop.
// Tasks posted after the object is gone are dropped.
class QtExecutor final : public Executor {
public:
    explicit QtExecutor(QObject *context) : m_context(context) {}
    void post(std::function<void()> task) override;

private:
    QPointer<QObject> m_context;
};

} // namespace dowsel
