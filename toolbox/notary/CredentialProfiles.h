#pragma once

#include "keychain/PrivateFolder.h"
#include "notary/NotaryApi.h"

#include <filesystem>
#include <optional>
#include <string>

namespace notary {

/// By what name and right a user submits.
struct CredentialProfile {
    enum class Kind {
        local, // the authority of this host
        apiKey, // the public service
        appleId, // the public service has no interface for it, so the host's own authority judges
    };

    std::string name;
    Kind kind = Kind::local;
    ApiKey key{};
    ServicePlace service{};
    std::string appleId{}, teamId{};

    friend bool operator==(const CredentialProfile& a, const CredentialProfile& b)
    {
        return a.name == b.name && a.kind == b.kind && a.key == b.key
            && a.service.base == b.service.base && a.appleId == b.appleId && a.teamId == b.teamId;
    }
};

/// The user's profiles: a file each, in a folder that is the user's alone.
class CredentialProfiles {
public:
    /// The profile of the local authority, which is always there.
    static constexpr const char* localName = "local";

    /// `folder` is made where it is missing, not those above it.
    explicit CredentialProfiles(const std::filesystem::path& folder);

    /// Replaces one of the same name. Throws std::invalid_argument for the local one's.
    void store(const CredentialProfile& profile) const;
    std::optional<CredentialProfile> find(const std::string& name) const;

private:
    keychain::PrivateFolder m_folder;
};

} // namespace notary
