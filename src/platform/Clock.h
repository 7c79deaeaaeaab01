#pragma once

#include "platform/Cancellation.h"

#include <QCoro/QCoroTask>
#include <QDateTime>

#include <chrono>

/// The time of day and waits, handed in so that tests can turn the hands.
class Clock {
public:
    virtual ~Clock() = default;

    virtual QDateTime now() const = 0;
    /// Ends after `duration`, or at once when `cancellation` is or becomes requested. It never
    /// fails and doesn't tell which of the two it was. A null handle can't be cancelled.
    virtual QCoro::Task<> wait(
        std::chrono::milliseconds duration, CancellationHandle cancellation) = 0;

    /// The host's clock.
    static Clock& system();
};
