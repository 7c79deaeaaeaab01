#pragma once

#include <QCoreApplication>
#include <QCoro/QCoroTask>
#include <QElapsedTimer>
#include <QEvent>

#include <exception>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>

/// Turns the main loop until `isDone`; false when `seconds` have gone.
template <class Condition>
bool turnUntil(Condition isDone, int seconds = 60)
{
    QElapsedTimer timer;
    timer.start();
    while (!isDone() && timer.elapsed() < seconds * 1000LL)
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return isDone();
}

/// Runs the main loop until `task` ends and passes on what it returns or throws. A task that
/// doesn't end in time is an exception of its own.
template <class Value>
Value await(QCoro::Task<Value> task)
{
    struct State {
        bool isDone = false;
        std::exception_ptr failure;
        std::optional<std::conditional_t<std::is_void_v<Value>, bool, Value>> value;
    };
    const auto state = std::make_shared<State>();
    const auto watch = [](QCoro::Task<Value> watched, std::shared_ptr<State> out) -> QCoro::Task<> {
        try {
            if constexpr (std::is_void_v<Value>)
                co_await watched;
            else
                out->value = co_await watched;
        } catch (...) {
            out->failure = std::current_exception();
        }
        out->isDone = true;
    };
    const QCoro::Task<> watching = watch(std::move(task), state);
    if (!turnUntil([&] { return state->isDone; }))
        throw std::runtime_error("the task didn't end in time");
    if (state->failure)
        std::rethrow_exception(state->failure);
    if constexpr (!std::is_void_v<Value>)
        return *std::move(state->value);
}
