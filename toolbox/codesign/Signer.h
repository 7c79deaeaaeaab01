#pragma once

#include "codesign/Entitlements.h"
#include "codesign/Requirement.h"
#include "keychain/Identity.h"
#include "keychain/TimeStamper.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace codesign {

/// Who signs and how: the same for everything that one run signs.
struct Signer {
    /// Null signs ad hoc: hashes without anybody who answers for them.
    const keychain::Identity* identity = nullptr;
    /// Null for signatures without a time stamp.
    const keychain::TimeStamper* stamper = nullptr;
    /// Of code directories; none leaves it to the information dictionary of each piece of code.
    std::optional<uint32_t> flags;
    std::optional<Entitlements> entitlements{}; // main executables only

    /// The team that the certificate names; empty for ad hoc and for chains of no developer.
    std::string team() const;
    /// What other code shall ask of code with this name; none for ad hoc.
    std::optional<Expression> designatedRequirement(const std::string& identifier) const;
};

/// True for chains with the two markers of a Developer ID.
bool isDeveloperId(const std::vector<keychain::Certificate>& chain);
/// True for every kind of developer's certificate.
bool isDeveloperChain(const std::vector<keychain::Certificate>& chain);

} // namespace codesign
