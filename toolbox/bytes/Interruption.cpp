#include "bytes/Interruption.h"

#include <csignal>
#include <initializer_list>
#include <thread>
#include <unistd.h>

namespace bytes {

namespace {

struct State {
    /// Held by whoever must not be interrupted, and by the signal's thread until the process ends.
    std::recursive_mutex running;
    std::recursive_mutex guard; // of the list; a clean-up may use the host through this room
    std::list<std::function<void()>> cleanUps;
};

/// Never destroyed: a signal may come while statics are being torn down.
State& state()
{
    static State& instance = *new State;
    return instance;
}

/// Whoever starts a tool with a signal ignored (`nohup`, a shell's background job) means it to go
/// on: blocked and waited for, the signal would end it all the same.
bool isIgnored(int signal)
{
    struct sigaction action { };
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

sigset_t endingSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        if (!isIgnored(signal))
            sigaddset(&signals, signal);
    }
    return signals;
}

void waitAndEnd(const sigset_t signals)
{
    int signal = 0;
    while (sigwait(&signals, &signal) != 0) { }

    state().running.lock();
    {
        const std::lock_guard guard(state().guard);
        for (const auto& cleanUp : state().cleanUps) {
            try {
                cleanUp();
            } catch (...) {
                // What can't be removed now must not keep the rest.
            }
        }
    }
    ::_exit(128 + signal);
}

} // namespace

void endOnSignals()
{
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread(waitAndEnd, signals).detach();
}

void waitForSignalInProgress()
{
    const std::lock_guard wait(state().running);
}

OnInterruption::OnInterruption(std::function<void()> cleanUp)
{
    const std::lock_guard guard(state().guard);
    m_place = state().cleanUps.insert(state().cleanUps.end(), std::move(cleanUp));
}

OnInterruption::~OnInterruption()
{
    const std::lock_guard guard(state().guard);
    state().cleanUps.erase(m_place);
}

Uninterrupted::Uninterrupted()
    : m_lock(state().running)
{ }

} // namespace bytes
