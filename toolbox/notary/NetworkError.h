#pragma once

#include <stdexcept>
#include <string>

namespace notary {

/// A request that got no answer. `what` is what a Mac's network library says about it, with the
/// number that it has there (Apple, "NSURLError").
class NetworkError : public std::runtime_error {
public:
    enum class Code {
        badUrl = -1000,
        timedOut = -1001,
        unknownHost = -1003,
        notConnectable = -1004,
        connectionLost = -1005,
        offline = -1009,
        badAnswer = -1011,
        insecure = -1200,
        untrustedCertificate = -1202,
    };

    NetworkError(Code code, const std::string& url);

    Code code() const { return m_code; }
    /// Whether the same request may be answered a little later.
    bool mayPass() const;

private:
    Code m_code;
};

} // namespace notary
