#include "codesign/Signer.h"

#include "keychain/TrustedRoots.h"

#include <algorithm>

namespace codesign {

namespace {

using keychain::Certificate;

// The marker extensions by which a chain is told (Apple's published certificate policies).
constexpr const char* developerIdIssuer = "1.2.840.113635.100.6.2.6";
constexpr const char* developerIdLeaf = "1.2.840.113635.100.6.1.13";
constexpr const char* developmentIssuer = "1.2.840.113635.100.6.2.1";
constexpr const char* developmentLeaves[] = {"1.2.840.113635.100.6.1.2",
    "1.2.840.113635.100.6.1.12", "1.2.840.113635.100.6.1.7", "1.2.840.113635.100.6.1.4"};

/// The certificate that a private chain's requirement names: the last one upwards that is of the
/// leaf's own organization.
int32_t privateAnchor(const std::vector<Certificate>& chain)
{
    const std::string organization = chain.front().organization();
    if (organization.empty())
        return leafCertificate;
    std::size_t at = 0;
    while (at + 1 < chain.size() && chain[at + 1].organization() == organization)
        ++at;
    return at + 1 == chain.size() ? rootCertificate : static_cast<int32_t>(at);
}

} // namespace

bool isDeveloperId(const std::vector<Certificate>& chain)
{
    return chain.size() >= 2 && chain[0].hasExtensionNamed(developerIdLeaf)
        && chain[1].hasExtensionNamed(developerIdIssuer);
}

bool isDeveloperChain(const std::vector<Certificate>& chain)
{
    if (isDeveloperId(chain))
        return true;
    return chain.size() >= 2 && chain[1].hasExtensionNamed(developmentIssuer)
        && std::ranges::any_of(developmentLeaves,
            [&](const char* marker) { return chain[0].hasExtensionNamed(marker); });
}

std::string Signer::team() const
{
    if (identity == nullptr || !isDeveloperChain(identity->chain()))
        return {};
    return identity->certificate.organizationalUnit();
}

std::optional<Expression> Signer::designatedRequirement(const std::string& identifier) const
{
    if (identity == nullptr)
        return std::nullopt;
    const std::vector<Certificate> chain = identity->chain();
    if (isDeveloperId(chain))
        return developerIdRequirement(identifier, chain[0].organizationalUnit());
    if (isDeveloperChain(chain))
        return developmentRequirement(identifier, chain[0].commonName());

    const int32_t anchor = privateAnchor(chain);
    const Certificate& named =
        anchor == rootCertificate ? chain.back() : chain[static_cast<std::size_t>(anchor)];
    return privateChainRequirement(identifier, anchor, named.rawFingerprint());
}

} // namespace codesign
