#include "keychain/Identity.h"

namespace keychain {

std::vector<Certificate> Identity::chain() const
{
    std::vector<Certificate> all{certificate};
    all.insert(all.end(), issuers.begin(), issuers.end());
    return all;
}

const char* errorName(Validity validity)
{
    switch (validity) {
    case Validity::valid:
        return "";
    case Validity::notTrusted:
        return "CSSMERR_TP_NOT_TRUSTED";
    case Validity::revoked:
        return "CSSMERR_TP_CERT_REVOKED";
    case Validity::expired:
        return "CSSMERR_TP_CERT_EXPIRED";
    case Validity::notYetValid:
        return "CSSMERR_TP_CERT_NOT_VALID_YET";
    case Validity::wrongUsage:
        return "Invalid Extended Key Usage for policy";
    }
    return "";
}

} // namespace keychain
