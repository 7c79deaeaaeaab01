#include "notary/WaitForVerdict.h"

#include "notary/NetworkError.h"
#include "notary/Retry.h"
#include "notary/ServiceError.h"

#include <algorithm>
#include <optional>

namespace notary {

namespace {

constexpr std::chrono::seconds firstPause{5};
constexpr std::chrono::seconds longestPause{30};

/// None when the service could not be asked but may be later; `patient` says whether that will do.
std::optional<Submission> ask(Service& service, const std::string& id, bool patient)
try {
    return service.submission(id);
} catch (const NetworkError& error) {
    if (!patient || !error.mayPass())
        throw;
    return std::nullopt;
} catch (const ServiceError& error) {
    // A submission may be unknown for a moment after it was made.
    if (!patient || (!mayPass(error.status()) && error.status() != 404))
        throw;
    return std::nullopt;
}

} // namespace

Submission waitForVerdict(Service& service, Clock& clock, const std::string& id,
    const WaitLimits& limits, const std::function<void(const Submission&)>& heard)
{
    const Clock::Time start = clock.now();
    Clock::Time lastAnswer = start;
    Submission known{.id = id, .name = {}, .createdDate = {}};
    for (std::chrono::seconds pause = firstPause;; pause = std::min(pause * 5 / 4, longestPause)) {
        if (auto answer = ask(service, id, clock.now() - lastAnswer < limits.patience)) {
            known = *std::move(answer);
            lastAnswer = clock.now();
            heard(known);
        }
        const auto left =
            std::chrono::ceil<std::chrono::seconds>(start + limits.timeout - clock.now());
        if (known.isDecided() || left.count() <= 0)
            return known;
        clock.wait(std::min(pause, left));
    }
}

} // namespace notary
