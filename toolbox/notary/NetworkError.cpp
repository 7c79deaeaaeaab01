#include "notary/NetworkError.h"

namespace notary {

namespace {

const char* textOf(NetworkError::Code code)
{
    switch (code) {
    case NetworkError::Code::badUrl:
        return "bad URL";
    case NetworkError::Code::timedOut:
        return "The request timed out.";
    case NetworkError::Code::unknownHost:
        return "A server with the specified hostname could not be found.";
    case NetworkError::Code::notConnectable:
        return "Could not connect to the server.";
    case NetworkError::Code::connectionLost:
        return "The network connection was lost.";
    case NetworkError::Code::offline:
        return "The Internet connection appears to be offline.";
    case NetworkError::Code::badAnswer:
        return "There was a bad response from the server.";
    case NetworkError::Code::insecure:
        return "An SSL error has occurred and a secure connection to the server cannot be made.";
    case NetworkError::Code::untrustedCertificate:
        return "The certificate for this server is invalid.";
    }
    return "";
}

/// What follows the path of a URL may be a key to what lies there.
std::string describe(NetworkError::Code code, const std::string& url)
{
    const std::string text = textOf(code);
    return "Error Domain=NSURLErrorDomain Code=" + std::to_string(static_cast<int>(code)) + " \""
        + text + "\" UserInfo={NSLocalizedDescription=" + text
        + ", NSErrorFailingURLStringKey=" + url.substr(0, url.find('?')) + "}";
}

} // namespace

NetworkError::NetworkError(Code code, const std::string& url)
    : std::runtime_error(describe(code, url))
    , m_code(code)
{ }

bool NetworkError::mayPass() const
{
    return m_code != Code::badUrl && m_code != Code::badAnswer && m_code != Code::insecure
        && m_code != Code::untrustedCertificate;
}

} // namespace notary
