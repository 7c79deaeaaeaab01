#include "notary/HttpClient.h"

#include "keychain/OpenSsl.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <curl/curl.h>
#include <memory>
#include <new>
#include <optional>
#include <span>

namespace notary {

namespace {

using keychain::Free;
using CurlOwner = std::unique_ptr<CURL, Free<curl_easy_cleanup>>;
using HeaderOwner = std::unique_ptr<curl_slist, Free<curl_slist_free_all>>;
using UrlOwner = std::unique_ptr<CURLU, Free<curl_url_cleanup>>;
using TextOwner = std::unique_ptr<char, Free<curl_free>>;

constexpr long secondsToConnect = 30;
constexpr std::size_t longestAnswer = 64 << 20;

/// What libcurl calls back with while a request runs.
struct Transfer {
    HttpResponse response;
    const HttpUpload& upload;
    uint64_t sent = 0;
};

std::size_t takeBody(char* data, std::size_t size, std::size_t count, void* target)
{
    std::string& body = static_cast<Transfer*>(target)->response.body;
    if (longestAnswer - body.size() < size * count)
        return 0;
    body.append(data, size * count);
    return size * count;
}

std::size_t takeHeader(char* data, std::size_t size, std::size_t count, void* target)
{
    const std::string line(data, size * count);
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos)
        return line.size();
    std::string name = line.substr(0, colon);
    std::ranges::transform(name, name.begin(),
        [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    const std::size_t first = line.find_first_not_of(" \t", colon + 1);
    const std::size_t last = line.find_last_not_of(" \t\r\n");
    if (first != std::string::npos && last >= first)
        static_cast<Transfer*>(target)->response.headers[name] =
            line.substr(first, last - first + 1);
    return line.size();
}

std::size_t giveBody(char* data, std::size_t size, std::size_t count, void* source)
try {
    auto& transfer = *static_cast<Transfer*>(source);
    const HttpUpload& upload = transfer.upload;
    const std::size_t length = std::min<uint64_t>(size * count, upload.length - transfer.sent);
    upload.source->readAt(transfer.sent, std::as_writable_bytes(std::span(data, length)));
    transfer.sent += length;
    if (upload.progress)
        upload.progress(transfer.sent);
    return length;
} catch (const std::exception&) {
    return CURL_READFUNC_ABORT; // the file became shorter or can't be read any more
}

/// libcurl begins anew when a kept connection turns out to be dead.
int seekBody(void* source, curl_off_t offset, int)
{
    static_cast<Transfer*>(source)->sent = static_cast<uint64_t>(offset);
    return CURL_SEEKFUNC_OK;
}

std::optional<std::string> partOf(const std::string& url, CURLUPart part)
{
    const UrlOwner parsed(curl_url());
    char* text = nullptr;
    if (!parsed || curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK
        || curl_url_get(parsed.get(), part, &text, 0) != CURLUE_OK)
        return std::nullopt;
    const TextOwner owner(text);
    return std::string(text);
}

bool isThisHost(const std::string& url)
{
    const std::string host = partOf(url, CURLUPART_HOST).value_or("");
    return host == "localhost" || host == "127.0.0.1" || host == "[::1]";
}

NetworkError::Code codeOf(CURLcode outcome, CURL* curl)
{
    long hostError = 0;
    curl_easy_getinfo(curl, CURLINFO_OS_ERRNO, &hostError);
    switch (outcome) {
    case CURLE_OPERATION_TIMEDOUT:
        return NetworkError::Code::timedOut;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return NetworkError::Code::unknownHost;
    case CURLE_COULDNT_CONNECT:
        return hostError == ENETUNREACH || hostError == ENETDOWN
            ? NetworkError::Code::offline
            : NetworkError::Code::notConnectable;
    case CURLE_URL_MALFORMAT:
    case CURLE_UNSUPPORTED_PROTOCOL:
        return NetworkError::Code::badUrl;
    case CURLE_SSL_CONNECT_ERROR:
        return NetworkError::Code::insecure;
    case CURLE_PEER_FAILED_VERIFICATION:
        return NetworkError::Code::untrustedCertificate;
    case CURLE_WRITE_ERROR:
    case CURLE_WEIRD_SERVER_REPLY:
        return NetworkError::Code::badAnswer;
    default:
        return NetworkError::Code::connectionLost;
    }
}

HeaderOwner headerList(const HttpRequest& request)
{
    // Without the first a body would wait for a go-ahead that many servers never give.
    HeaderOwner list(curl_slist_append(nullptr, "Expect:"));
    for (const std::string& header : request.headers)
        if (!list || curl_slist_append(list.get(), header.c_str()) == nullptr)
            throw std::bad_alloc();
    return list;
}

void setBody(CURL* curl, const HttpRequest& request, Transfer& transfer)
{
    if (request.upload.source != nullptr) {
        curl_easy_setopt(curl, CURLOPT_UPLOAD, 1L);
        curl_easy_setopt(
            curl, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(request.upload.length));
        curl_easy_setopt(curl, CURLOPT_READFUNCTION, giveBody);
        curl_easy_setopt(curl, CURLOPT_READDATA, &transfer);
        curl_easy_setopt(curl, CURLOPT_SEEKFUNCTION, seekBody);
        curl_easy_setopt(curl, CURLOPT_SEEKDATA, &transfer);
    } else if (request.method != "GET") {
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.body.data());
        curl_easy_setopt(
            curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
    }
    curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, request.method.c_str());
}

} // namespace

bool isSafeUrl(const std::string& url)
{
    const auto scheme = partOf(url, CURLUPART_SCHEME);
    return scheme == "https" || (scheme == "http" && isThisHost(url));
}

HttpClient::HttpClient(std::chrono::seconds idleLimit)
    : m_idleLimit(idleLimit)
{
    [[maybe_unused]] static const CURLcode started = curl_global_init(CURL_GLOBAL_DEFAULT);
}

HttpResponse HttpClient::send(const HttpRequest& request) const
{
    if (!isSafeUrl(request.url))
        throw NetworkError(NetworkError::Code::badUrl, request.url);
    const CurlOwner owner(curl_easy_init());
    CURL* const curl = owner.get();
    if (curl == nullptr)
        throw std::bad_alloc();
    Transfer transfer{.response = {}, .upload = request.upload};
    const HeaderOwner headers = headerList(request);
    curl_easy_setopt(curl, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    if (isThisHost(request.url))
        curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, secondsToConnect);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, static_cast<long>(m_idleLimit.count()));
    curl_easy_setopt(curl, CURLOPT_USERAGENT, "vandor-dmg");
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, takeBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, takeHeader);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &transfer);
    setBody(curl, request, transfer);
    const CURLcode outcome = curl_easy_perform(curl);
    if (outcome != CURLE_OK)
        throw NetworkError(codeOf(outcome, curl), request.url);
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &transfer.response.status);
    return std::move(transfer.response);
}

} // namespace notary
