#include "platform/Clock.h"

#include <QCoro/QCoroFuture>
#include <QPromise>
#include <QTimer>

#include <algorithm>

namespace {

class SystemClock : public Clock {
public:
    QDateTime now() const override { return QDateTime::currentDateTime(); }
    QCoro::Task<> wait(
        std::chrono::milliseconds duration, CancellationHandle cancellation) override;
};

QCoro::Task<> SystemClock::wait(std::chrono::milliseconds duration, CancellationHandle cancellation)
{
    if (cancellation && cancellation->isRequested())
        co_return;

    QPromise<void> promise;
    promise.start();
    const auto end = [&promise] { promise.finish(); };
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer); // the others may end early
    QObject::connect(&timer, &QTimer::timeout, &timer, end);
    if (cancellation)
        QObject::connect(cancellation.get(), &Cancellation::requested, &timer, end);
    timer.start(std::max(duration, std::chrono::milliseconds::zero()));

    const QFuture<void> ended = promise.future();
    co_await ended;
}

} // namespace

Clock& Clock::system()
{
    static SystemClock clock;
    return clock;
}
