#pragma once

#include "notary/Clock.h"
#include "notary/Service.h"

#include <chrono>
#include <functional>

namespace notary {

struct WaitLimits {
    std::chrono::seconds timeout = std::chrono::hours(24);
    /// How long the service may be out of reach in between.
    std::chrono::seconds patience = std::chrono::minutes(15);
};

/// Asks for the submission's status, more seldom as time goes by, until there is a verdict or the
/// timeout has passed: the last status known is returned. A question that gets no answer is asked
/// again; after `patience` without any its NetworkError or ServiceError is thrown. `heard` is
/// called for each answer.
Submission waitForVerdict(Service& service, Clock& clock, const std::string& id,
    const WaitLimits& limits, const std::function<void(const Submission&)>& heard);

} // namespace notary
