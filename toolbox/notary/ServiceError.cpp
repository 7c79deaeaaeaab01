#include "notary/ServiceError.h"

#include "notary/Encoding.h"
#include "notary/Retry.h"

#include <nlohmann/json.hpp>

namespace notary {

namespace {

constexpr std::size_t longestReason = 300;

std::string shortened(const std::string& text)
{
    return oneLine(text.substr(0, longestReason));
}

/// What the service says about its refusal, in JSON or as plain text; pages for people are left
/// out.
std::string reasonIn(const std::string& body)
{
    const auto json = nlohmann::json::parse(body, nullptr, false);
    if (json.is_discarded())
        return body.starts_with('<') ? "" : shortened(body);
    if (!json.is_object() || !json.contains("errors") || !json["errors"].is_array())
        return "";
    std::string all;
    for (const auto& error : json["errors"])
        for (const char* field : {"title", "detail"})
            if (error.is_object() && error.contains(field) && error[field].is_string())
                all += (all.empty() ? "" : " ") + error[field].get<std::string>();
    return shortened(all);
}

std::string textFor(const HttpResponse& response)
{
    std::string text = "HTTP status code: " + std::to_string(response.status) + ".";
    if (response.status == 401)
        return text + " Unauthenticated. Ensure that all authentication arguments are correct.";
    const std::string reason = reasonIn(response.body);
    if (!reason.empty())
        text += " " + reason;
    if (mayPass(response.status))
        text += " This is often transient; try again later.";
    return text;
}

} // namespace

ServiceError::ServiceError(const HttpResponse& response)
    : std::runtime_error(textFor(response))
    , m_status(response.status)
{ }

ServiceError::ServiceError(const std::string& text)
    : std::runtime_error(text)
{ }

} // namespace notary
