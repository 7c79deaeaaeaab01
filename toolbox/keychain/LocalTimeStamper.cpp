#include "keychain/LocalTimeStamper.h"

#include "keychain/TimeStampProtocol.h"

namespace keychain {

std::vector<std::byte> LocalTimeStamper::token(std::span<const std::byte> imprint) const
{
    const TimeStampRequest request(imprint);
    return request.tokenOf(m_authority.timeStampResponse(request.der()));
}

} // namespace keychain
