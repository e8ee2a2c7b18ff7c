#include "core/QtExecutor.h"

#include <QMetaObject>

namespace dowsel {

void QtExecutor::post(std::function<void()> task)
{
    if (QObject *context = m_context.data())
        QMetaObject::invokeMethod(context, std::move(task), Qt::QueuedConnection);
}

} // namespace dowsel
