#include "platform/MainQueue.h"

#include <QCoreApplication>

#include <utility>

void MainQueue::post(std::function<void()> action)
{
    Q_ASSERT(QCoreApplication::instance());
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), std::move(action), Qt::QueuedConnection);
}
