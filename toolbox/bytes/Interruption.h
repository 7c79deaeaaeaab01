#pragma once

#include <functional>
#include <list>
#include <mutex>

/// What happens when the user or the system ends a tool early (SIGINT, SIGTERM, SIGHUP): what it
/// was writing is taken away, then the process ends. Without `endOnSignals` signals act as always
/// and the rest of this header costs nothing.
namespace bytes {

/// From now on a signal runs the clean-ups and ends the process with 128 plus its number; one that
/// is ignored stays ignored. Call it from `main`, before any other thread is started.
void endOnSignals();

/// Holds on while a signal is being handled, so that `main` doesn't end first with another status.
void waitForSignalInProgress();

/// Work to do when a signal ends the process while this object lives. It runs in a thread of its
/// own, so it may do anything, but the interrupted work goes on beside it.
class OnInterruption {
public:
    explicit OnInterruption(std::function<void()> cleanUp);
    ~OnInterruption();
    OnInterruption(const OnInterruption&) = delete;
    OnInterruption& operator=(const OnInterruption&) = delete;

private:
    std::list<std::function<void()>>::iterator m_place;
};

/// While one lives, a signal waits: for work that must not be cut short.
class Uninterrupted {
public:
    Uninterrupted();

private:
    std::unique_lock<std::recursive_mutex> m_lock;
};

} // namespace bytes
