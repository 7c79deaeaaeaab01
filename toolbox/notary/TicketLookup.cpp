#include "notary/TicketLookup.h"

#include "notary/Retry.h"
#include "notary/ServiceError.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <openssl/evp.h>

namespace notary {

namespace {

using Json = nlohmann::json;

constexpr const char* lookupPath =
    "/database/1/com.apple.gk.ticket-delivery/production/public/records/lookup";

/// Records are named by their scheme, then the hash.
std::string recordName(const TicketHash& hash)
{
    return "2/" + hash.text();
}

std::vector<std::byte> fromBase64(const std::string& text)
{
    std::vector<std::byte> data(text.size() / 4 * 3 + 3);
    const int length = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(data.data()),
        reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
    const auto padding = static_cast<int>(text.ends_with("==") ? 2 : text.ends_with("=") ? 1 : 0);
    if (length < padding)
        throw ServiceError("the ticket in the answer isn't base64");
    data.resize(static_cast<std::size_t>(length - padding));
    return data;
}

std::optional<std::vector<std::byte>> ticketIn(const HttpResponse& response)
{
    if (!response.isSuccess())
        throw ServiceError(response);
    const Json answer = Json::parse(response.body, nullptr, false);
    const Json::json_pointer first("/records/0");
    if (!answer.is_object() || !answer.contains(first))
        throw ServiceError("the answer to the ticket lookup makes no sense");
    const Json& record = answer[first];
    if (record.is_object() && record.value("serverErrorCode", Json()) == "NOT_FOUND")
        return std::nullopt;
    const Json::json_pointer value("/fields/signedTicket/value");
    if (!record.is_object() || !record.contains(value) || !record[value].is_string())
        throw ServiceError("the answer to the ticket lookup has no ticket");
    return fromBase64(record[value].get<std::string>());
}

} // namespace

std::optional<std::vector<std::byte>> TicketLookup::find(
    const TicketHash& hash, const LookupPolicy& policy) const
{
    const Json question{{"records", Json::array({Json{{"recordName", recordName(hash)}}})}};
    const auto request = [&] {
        return HttpRequest{.method = "POST",
            .url = m_service + lookupPath,
            .headers = {"Content-Type: application/json"},
            .body = question.dump()};
    };
    const RetryPolicy throughFaults{.tries = policy.tries > 1 ? RetryPolicy().tries : 1};
    std::chrono::seconds pause = policy.firstWait;
    for (int left = policy.tries - 1;; --left) {
        auto ticket = ticketIn(sendWithRetries(m_client, m_clock, request, throughFaults));
        if (ticket || left <= 0)
            return ticket;
        m_clock.wait(pause);
        pause = std::min(2 * pause, policy.longestWait);
    }
}

} // namespace notary
