#include "tools/UserTrust.h"

#include "keychain/IdentityStore.h"
#include "volumes/StateFolder.h"

namespace tools {

keychain::TrustedRoots rootsOfUser()
{
    using volumes::StateFolder;
    const StateFolder state = StateFolder::ofUser(StateFolder::Making::whenNeeded);
    return state.exists() ? keychain::IdentityStore(state.root()).trustedRoots()
                          : keychain::TrustedRoots();
}

} // namespace tools
