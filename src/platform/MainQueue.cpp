#include "platform/MainQueue.h"

#include <QCoreApplication>

#include <utility>

void MainQueue::post(std::function<void()> action)
{
    // Threads may still end something while the application goes; it waits for them before it is
    // gone, so what is found here stays whole within this call. Without one the action is dropped.
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), std::move(action), Qt::QueuedConnection);
}
