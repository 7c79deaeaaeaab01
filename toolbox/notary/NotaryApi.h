#pragma once

#include "notary/ApiKey.h"
#include "notary/RequestSigner.h"
#include "notary/Retry.h"
#include "notary/Submission.h"

#include <optional>
#include <span>

namespace notary {

/// Where the service is.
struct ServicePlace {
    static constexpr const char* publicService = "https://appstoreconnect.apple.com";

    std::string base = publicService;

    bool isPublic() const { return base == publicService; }
};

/// Where a submitted file is to be sent, and with what right.
struct UploadPlace {
    std::string bucket, object;
    UploadCredentials credentials;
};

/// The service's public interface (Apple, "Notary API"). All calls try again when the network or
/// the service fails for a moment, and once with a new token when the service refuses the old one.
/// They throw NetworkError and ServiceError.
class NotaryApi {
public:
    struct NewSubmission {
        std::string id;
        UploadPlace upload;
    };

    /// Borrows client and clock.
    NotaryApi(const HttpClient& client, Clock& clock, ApiKey key, ServicePlace place = {});

    /// `sha256` is the file's digest in hexadecimal.
    NewSubmission submit(
        const std::string& name, const std::string& sha256, std::span<const std::string> webhooks);
    /// Asked again and again anyway, so a caller may want no other tries.
    Submission submission(const std::string& id, const RetryPolicy& policy = {});
    /// The newest hundred.
    std::vector<Submission> history();
    /// The developer log, JSON. None while there isn't one yet.
    std::optional<std::string> log(const std::string& id);

private:
    HttpResponse send(const std::string& method, const std::string& path, const std::string& body,
        const RetryPolicy& policy = {});
    HttpResponse sendOnce(const std::string& method, const std::string& path,
        const std::string& body, const RetryPolicy& policy);
    const std::string& token();

    const HttpClient& m_client;
    Clock& m_clock;
    ApiKey m_key;
    std::string m_base;
    std::string m_token;
    Clock::Time m_tokenMade{};
};

} // namespace notary
