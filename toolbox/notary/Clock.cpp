#include "notary/Clock.h"

#include <thread>

namespace notary {

void SystemClock::wait(std::chrono::seconds duration)
{
    std::this_thread::sleep_for(duration);
}

} // namespace notary
