#pragma once

#include "notary/Clock.h"

/// A clock that goes on only when somebody waits.
class HandClock final : public notary::Clock {
public:
    Time now() const override { return m_now; }
    void wait(std::chrono::seconds duration) override { m_now += duration; }
    std::chrono::seconds waited() const
    {
        return std::chrono::duration_cast<std::chrono::seconds>(m_now - start);
    }

    static constexpr Time start{std::chrono::seconds(1'700'000'000)};

private:
    Time m_now = start;
};
