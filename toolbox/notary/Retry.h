#pragma once

#include "notary/Clock.h"
#include "notary/HttpClient.h"

namespace notary {

/// How long a request is tried when the network or the service is not at its best.
struct RetryPolicy {
    int tries = 6;
    std::chrono::seconds firstWait{1}; // doubled each time
    std::chrono::seconds longestWait{30}; // what the service asks for counts up to four times that
};

/// Whether a service that answers so may answer otherwise later.
bool mayPass(long status);

/// Sends what `request` makes, anew for each try since it may be signed with the time, until there
/// is an answer that isn't a passing fault. After the last try that answer is returned, or the
/// NetworkError thrown.
HttpResponse sendWithRetries(const HttpClient& client, Clock& clock,
    const std::function<HttpRequest()>& request, const RetryPolicy& policy = {});

} // namespace notary
