#pragma once

#include "keychain/LocalAuthority.h"
#include "keychain/TimeStamper.h"

namespace keychain {

/// The time-stamp service of this host's rehearsal authority, which must outlive it.
class LocalTimeStamper final : public TimeStamper {
public:
    explicit LocalTimeStamper(const LocalAuthority& authority)
        : m_authority(authority)
    { }
    std::vector<std::byte> token(std::span<const std::byte> imprint) const override;

private:
    const LocalAuthority& m_authority;
};

} // namespace keychain
