#pragma once

#include "bytes/ByteDevice.h"
#include "notary/NetworkError.h"

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace notary {

/// A file that is sent as a request's body.
struct HttpUpload {
    const bytes::ByteSource* source = nullptr; // borrowed; null where the body is a text
    uint64_t length = 0;
    std::function<void(uint64_t sent)> progress{}; // bytes
};

struct HttpRequest {
    std::string method = "GET";
    std::string url;
    std::vector<std::string> headers{}; // "Name: value"
    std::string body{};
    HttpUpload upload{};
};

struct HttpResponse {
    long status = 0;
    std::map<std::string, std::string> headers; // names in small letters
    std::string body;

    bool isSuccess() const { return status >= 200 && status < 300; }
};

/// Sends requests over HTTPS; over plain HTTP only to this host itself. Follows no redirection,
/// since a request carries a secret that is meant for one place. Trusts the host's authorities.
class HttpClient {
public:
    /// A request ends when for `idleLimit` next to nothing has come or gone.
    explicit HttpClient(std::chrono::seconds idleLimit = std::chrono::seconds(60));

    /// Any answer is an answer, whatever its status. Throws NetworkError where there is none, and
    /// for one of more than 64 MiB.
    HttpResponse send(const HttpRequest& request) const;

private:
    std::chrono::seconds m_idleLimit;
};

/// Whether secrets may be sent to `url`.
bool isSafeUrl(const std::string& url);

} // namespace notary
