#pragma once

#include <chrono>

namespace notary {

/// The current time, and waiting for a later one. Tests turn their own by hand.
class Clock {
public:
    using Time = std::chrono::system_clock::time_point;

    virtual ~Clock() = default;
    virtual Time now() const = 0;
    virtual void wait(std::chrono::seconds duration) = 0;
};

class SystemClock final : public Clock {
public:
    Time now() const override { return std::chrono::system_clock::now(); }
    void wait(std::chrono::seconds duration) override;
};

} // namespace notary
