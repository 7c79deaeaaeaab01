#pragma once

#include <chrono>

namespace applescript {

/// What a script's `delay` waits by.
class Clock {
public:
    using Duration = std::chrono::duration<double>; // seconds

    virtual ~Clock() = default;
    virtual void wait(Duration duration) = 0;
};

/// Waits for nothing and counts. The stand-in Finder is never busy: every object is as ready before
/// a pause as after it, so that a script's pauses cost no time on this host.
class VirtualClock final : public Clock {
public:
    void wait(Duration duration) override { m_waited += duration; }
    Duration waited() const { return m_waited; }

private:
    Duration m_waited{0};
};

} // namespace applescript
