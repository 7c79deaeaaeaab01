#pragma once

#include <string>

namespace notary {

/// A key of App Store Connect, by which a team's programs speak to the service.
struct ApiKey {
    std::string keyId;
    std::string issuer; // "" for the key of a single person
    std::string pem; // PKCS#8, P-256; secret

    friend bool operator==(const ApiKey&, const ApiKey&) = default;
};

} // namespace notary
