#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace notary {

/// Credentials for a single upload, as the service gives them out.
struct UploadCredentials {
    std::string accessKeyId;
    std::string secretKey; // secret
    std::string sessionToken; // secret; "" where there is none
};

/// Signs requests for Amazon's storage (AWS documentation, "Signature Version 4 signing process").
class RequestSigner {
public:
    /// What of a request is signed. The query's values are not encoded yet, nor is the path.
    struct Subject {
        std::string method;
        std::string path;
        std::map<std::string, std::string> query{};
        std::map<std::string, std::string> headers; // by names in small letters; all are signed
        std::string bodyHash; // SHA-256 in hexadecimal
    };

    RequestSigner(UploadCredentials credentials, std::string region, std::string service);

    /// The value of the header Authorization. `time` in seconds since 1970 must be that of the
    /// header x-amz-date.
    std::string authorization(const Subject& subject, int64_t time) const;
    /// All headers that such a request needs besides those that it has, itself signed with them.
    std::vector<std::string> signedHeaders(Subject subject, int64_t time) const;

    /// The query as it stands in a URL, without the question mark.
    static std::string queryText(const std::map<std::string, std::string>& query);

private:
    UploadCredentials m_credentials;
    std::string m_region, m_service;
};

} // namespace notary
