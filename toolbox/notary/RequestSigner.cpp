#include "notary/RequestSigner.h"

#include "codesign/Digest.h"
#include "notary/Encoding.h"

namespace notary {

namespace {

constexpr const char* algorithm = "AWS4-HMAC-SHA256";
constexpr const char* terminator = "aws4_request";

std::string hashOf(std::string_view text)
{
    return codesign::hexOf(digestOf(codesign::HashType::sha256, std::as_bytes(std::span(text))));
}

std::string dateTime(int64_t time)
{
    return timeText(time, "%Y%m%dT%H%M%SZ");
}

std::string headerNames(const std::map<std::string, std::string>& headers)
{
    std::string names;
    for (const auto& [name, value] : headers)
        names += (names.empty() ? "" : ";") + name;
    return names;
}

std::string canonicalRequest(const RequestSigner::Subject& subject)
{
    std::string text = subject.method + "\n" + percentEncoded(subject.path, true) + "\n"
        + RequestSigner::queryText(subject.query) + "\n";
    for (const auto& [name, value] : subject.headers)
        text += name + ":" + value + "\n";
    return text + "\n" + headerNames(subject.headers) + "\n" + subject.bodyHash;
}

} // namespace

RequestSigner::RequestSigner(UploadCredentials credentials, std::string region, std::string service)
    : m_credentials(std::move(credentials))
    , m_region(std::move(region))
    , m_service(std::move(service))
{ }

std::string RequestSigner::authorization(const Subject& subject, int64_t time) const
{
    const std::string date = timeText(time, "%Y%m%d");
    const std::string scope = date + "/" + m_region + "/" + m_service + "/" + terminator;
    const std::string text = std::string(algorithm) + "\n" + dateTime(time) + "\n" + scope + "\n"
        + hashOf(canonicalRequest(subject));
    const std::string secret = "AWS4" + m_credentials.secretKey;
    auto key = hmacSha256(std::as_bytes(std::span(secret)), date);
    for (const std::string& step : {m_region, m_service, std::string(terminator)})
        key = hmacSha256(key, step);
    return std::string(algorithm) + " Credential=" + m_credentials.accessKeyId + "/" + scope
        + ", SignedHeaders=" + headerNames(subject.headers)
        + ", Signature=" + codesign::hexOf(hmacSha256(key, text));
}

std::vector<std::string> RequestSigner::signedHeaders(Subject subject, int64_t time) const
{
    subject.headers["x-amz-content-sha256"] = subject.bodyHash;
    subject.headers["x-amz-date"] = dateTime(time);
    if (!m_credentials.sessionToken.empty())
        subject.headers["x-amz-security-token"] = m_credentials.sessionToken;
    std::vector<std::string> lines{"Authorization: " + authorization(subject, time)};
    for (const auto& [name, value] : subject.headers)
        if (name != "host") // the client's own
            lines.push_back(name + ": " + value);
    return lines;
}

std::string RequestSigner::queryText(const std::map<std::string, std::string>& query)
{
    std::string text;
    for (const auto& [name, value] : query)
        text += (text.empty() ? "" : "&") + percentEncoded(name, false) + "="
            + percentEncoded(value, false);
    return text;
}

} // namespace notary
