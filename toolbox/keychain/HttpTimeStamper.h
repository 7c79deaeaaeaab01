#pragma once

#include "keychain/TimeStamper.h"

#include <string>

namespace keychain {

/// A time-stamp service on the network.
class HttpTimeStamper final : public TimeStamper {
public:
    static constexpr const char* publicService = "http://timestamp.apple.com/ts01";

    /// The scheme of `url` is http or https.
    explicit HttpTimeStamper(std::string url = publicService);
    /// Waits 15 seconds at most, for everything.
    std::vector<std::byte> token(std::span<const std::byte> imprint) const override;

private:
    std::string m_url;
};

} // namespace keychain
