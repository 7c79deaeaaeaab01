#include "keychain/HttpTimeStamper.h"

#include "keychain/TimeStampProtocol.h"

#include <curl/curl.h>
#include <memory>

namespace keychain {

namespace {

constexpr long secondsToWait = 15;
/// A token with its certificates takes about five kilobytes.
constexpr std::size_t longestAnswer = 1 << 20;

using CurlOwner = std::unique_ptr<CURL, Free<curl_easy_cleanup>>;
using HeaderOwner = std::unique_ptr<curl_slist, Free<curl_slist_free_all>>;

std::size_t append(char* data, std::size_t size, std::size_t count, void* target)
{
    auto& answer = *static_cast<std::vector<std::byte>*>(target);
    const auto piece = std::as_bytes(std::span(data, size * count));
    if (longestAnswer - answer.size() < piece.size())
        return 0;
    answer.insert(answer.end(), piece.begin(), piece.end());
    return piece.size();
}

std::vector<std::byte> post(const std::string& url, std::span<const std::byte> request)
{
    [[maybe_unused]] static const CURLcode started = curl_global_init(CURL_GLOBAL_DEFAULT);
    const CurlOwner curl(curl_easy_init());
    HeaderOwner headers(curl_slist_append(nullptr, "Content-Type: application/timestamp-query"));
    if (!curl || !headers)
        throw TimeStampUnavailable("out of memory");
    curl_slist_append(headers.get(), "Accept: application/timestamp-reply");
    std::vector<std::byte> answer;
    curl_easy_setopt(curl.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl.get(), CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT, secondsToWait);
    curl_easy_setopt(curl.get(), CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, request.data());
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(request.size()));
    curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &answer);
    const CURLcode outcome = curl_easy_perform(curl.get());
    if (outcome != CURLE_OK)
        throw TimeStampUnavailable(url + ": " + curl_easy_strerror(outcome));
    return answer;
}

} // namespace

HttpTimeStamper::HttpTimeStamper(std::string url)
    : m_url(std::move(url))
{ }

std::vector<std::byte> HttpTimeStamper::token(std::span<const std::byte> imprint) const
{
    const TimeStampRequest request(imprint);
    return request.tokenOf(post(m_url, request.der()));
}

} // namespace keychain
