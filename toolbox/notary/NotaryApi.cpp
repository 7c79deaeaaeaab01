#include "notary/NotaryApi.h"

#include "notary/Encoding.h"
#include "notary/Jwt.h"
#include "notary/ServiceError.h"

#include <nlohmann/json.hpp>

namespace notary {

using nlohmann::json;

namespace {

constexpr const char* submissionsPath = "/notary/v2/submissions";
/// A token is used as long as it surely holds when the request arrives.
constexpr auto tokenUse = tokenLifetime / 2;

/// Reads what the service answered; whatever is missing or of another kind is one failure.
template <typename Read>
auto readAnswer(const HttpResponse& response, Read read)
{
    if (!response.isSuccess())
        throw ServiceError(response);
    try {
        return read(json::parse(response.body).at("data"));
    } catch (const json::exception& error) {
        throw ServiceError(std::string("The service's answer isn't understood: ") + error.what());
    }
}

/// An id becomes part of paths here and of URLs.
std::string checkedId(const std::string& id)
{
    if (!isUuid(id))
        throw ServiceError("The service's answer isn't understood: its id is no UUID");
    return id;
}

Submission submissionFrom(const json& data)
{
    const json& attributes = data.at("attributes");
    Submission submission;
    submission.id = checkedId(data.at("id").get<std::string>());
    submission.name = oneLine(attributes.value("name", ""));
    submission.createdDate = oneLine(attributes.value("createdDate", ""));
    submission.status = oneLine(attributes.at("status").get<std::string>());
    return submission;
}

} // namespace

NotaryApi::NotaryApi(const HttpClient& client, Clock& clock, ApiKey key, ServicePlace place)
    : m_client(client)
    , m_clock(clock)
    , m_key(std::move(key))
    , m_base(std::move(place.base))
{ }

NotaryApi::NewSubmission NotaryApi::submit(
    const std::string& name, const std::string& sha256, std::span<const std::string> webhooks)
{
    json body{{"submissionName", name}, {"sha256", sha256}};
    for (const std::string& target : webhooks)
        body["notifications"].push_back({{"channel", "webhook"}, {"target", target}});
    const auto request = body.dump(-1, ' ', false, json::error_handler_t::replace);
    return readAnswer(send("POST", submissionsPath, request), [](const json& data) {
        const json& attributes = data.at("attributes");
        const auto text = [&](const char* field) {
            return attributes.at(field).get<std::string>();
        };
        return NewSubmission{.id = checkedId(data.at("id").get<std::string>()),
            .upload = {.bucket = text("bucket"),
                .object = text("object"),
                .credentials = {.accessKeyId = text("awsAccessKeyId"),
                    .secretKey = text("awsSecretAccessKey"),
                    .sessionToken = text("awsSessionToken")}}};
    });
}

Submission NotaryApi::submission(const std::string& id, const RetryPolicy& policy)
{
    return readAnswer(
        send("GET", std::string(submissionsPath) + "/" + id, "", policy), submissionFrom);
}

std::vector<Submission> NotaryApi::history()
{
    return readAnswer(send("GET", submissionsPath, ""), [](const json& data) {
        std::vector<Submission> all;
        for (const json& one : data)
            all.push_back(submissionFrom(one));
        return all;
    });
}

std::optional<std::string> NotaryApi::log(const std::string& id)
{
    const HttpResponse answer = send("GET", std::string(submissionsPath) + "/" + id + "/logs", "");
    if (answer.status == 404)
        return std::nullopt;
    const std::string url = readAnswer(answer, [](const json& data) {
        return data.at("attributes").at("developerLogUrl").get<std::string>();
    });
    // The address is its own key; the token is meant for the service alone.
    HttpResponse log = sendWithRetries(m_client, m_clock, [&] { return HttpRequest{.url = url}; });
    if (!log.isSuccess())
        throw ServiceError(log);
    return std::move(log.body);
}

HttpResponse NotaryApi::send(const std::string& method, const std::string& path,
    const std::string& body, const RetryPolicy& policy)
{
    HttpResponse response = sendOnce(method, path, body, policy);
    if (response.status != 401)
        return response;
    m_token.clear(); // it may have run out on the way, or by another clock
    return sendOnce(method, path, body, policy);
}

HttpResponse NotaryApi::sendOnce(const std::string& method, const std::string& path,
    const std::string& body, const RetryPolicy& policy)
{
    const auto request = [&] {
        return HttpRequest{.method = method,
            .url = m_base + path,
            .headers = {"Authorization: Bearer " + token(), "Content-Type: application/json",
                "Accept: application/json"},
            .body = body};
    };
    return sendWithRetries(m_client, m_clock, request, policy);
}

const std::string& NotaryApi::token()
{
    const Clock::Time now = m_clock.now();
    if (m_token.empty() || now - m_tokenMade > tokenUse || now < m_tokenMade) {
        m_token = makeToken(m_key, now);
        m_tokenMade = now;
    }
    return m_token;
}

} // namespace notary
