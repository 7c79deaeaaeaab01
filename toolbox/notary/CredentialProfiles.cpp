#include "notary/CredentialProfiles.h"

#include "bytes/FormatError.h"
#include "codesign/Digest.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

namespace notary {

using nlohmann::json;
using Kind = CredentialProfile::Kind;

NLOHMANN_JSON_SERIALIZE_ENUM(
    Kind, {{Kind::local, "local"}, {Kind::apiKey, "API key"}, {Kind::appleId, "Apple ID"}})

namespace {

/// A profile's name may hold anything, a file's may not.
std::string fileName(const std::string& profile)
{
    const auto digest = digestOf(codesign::HashType::sha256, std::as_bytes(std::span(profile)));
    return codesign::hexOf(digest) + ".json";
}

} // namespace

CredentialProfiles::CredentialProfiles(const std::filesystem::path& folder)
    : m_folder(folder)
{ }

void CredentialProfiles::store(const CredentialProfile& profile) const
{
    if (profile.name == localName)
        throw std::invalid_argument(
            "the profile local stands for this host's own authority and can't be replaced");
    const json text{{"name", profile.name}, {"kind", profile.kind}, {"keyId", profile.key.keyId},
        {"issuer", profile.key.issuer}, {"key", profile.key.pem}, {"service", profile.service.base},
        {"appleId", profile.appleId}, {"teamId", profile.teamId}};
    m_folder.write(
        fileName(profile.name), text.dump(1, ' ', false, json::error_handler_t::replace));
}

std::optional<CredentialProfile> CredentialProfiles::find(const std::string& name) const
try {
    if (name == localName)
        return CredentialProfile{.name = name};
    if (!m_folder.has(fileName(name)))
        return std::nullopt;
    const json text = json::parse(m_folder.read(fileName(name)));
    CredentialProfile profile{.name = name, .kind = text.at("kind").get<Kind>()};
    profile.key = {text.at("keyId"), text.at("issuer"), text.at("key")};
    profile.service.base = text.at("service");
    profile.appleId = text.at("appleId");
    profile.teamId = text.at("teamId");
    return profile;
} catch (const json::exception&) {
    throw bytes::FormatError("the stored profile " + name + " is damaged; store it again");
}

} // namespace notary
