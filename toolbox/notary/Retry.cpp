#include "notary/Retry.h"

#include <algorithm>
#include <charconv>

namespace notary {

namespace {

/// The seconds that the service asks for; it may also name a date, which nobody does here.
std::chrono::seconds askedWait(const HttpResponse& response)
{
    const auto field = response.headers.find("retry-after");
    int seconds = 0;
    if (field != response.headers.end())
        std::from_chars(field->second.data(), field->second.data() + field->second.size(), seconds);
    return std::chrono::seconds(std::max(seconds, 0));
}

} // namespace

bool mayPass(long status)
{
    return status == 408 || status == 429 || (status >= 500 && status != 501);
}

HttpResponse sendWithRetries(const HttpClient& client, Clock& clock,
    const std::function<HttpRequest()>& request, const RetryPolicy& policy)
{
    std::chrono::seconds pause = policy.firstWait;
    for (int left = policy.tries - 1;; --left) {
        std::chrono::seconds asked{0};
        try {
            HttpResponse response = client.send(request());
            if (left <= 0 || !mayPass(response.status))
                return response;
            asked = std::min(askedWait(response), 4 * policy.longestWait);
        } catch (const NetworkError& error) {
            if (left <= 0 || !error.mayPass())
                throw;
        }
        clock.wait(std::max(pause, asked));
        pause = std::min(2 * pause, policy.longestWait);
    }
}

} // namespace notary
