#pragma once

#include "notary/HttpClient.h"

namespace notary {

/// The service refused. `what` is the text that its own tool has for the user.
class ServiceError : public std::runtime_error {
public:
    explicit ServiceError(const HttpResponse& response);
    /// An answer that makes no sense.
    explicit ServiceError(const std::string& text);

    /// 0 for an answer that makes no sense.
    long status() const { return m_status; }

private:
    long m_status = 0;
};

} // namespace notary
