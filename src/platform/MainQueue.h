#pragma once

#include <functional>

/// What is put off to a later turn of the main loop goes through here, so that a test can run
/// one turn and look.
class MainQueue {
public:
    /// Runs `action` on the main thread, never within this call. Actions run in the order
    /// posted. May be called from any thread. Drops it where there is no QCoreApplication (any
    /// more).
    static void post(std::function<void()> action);
};
