#include "notary/NotaryApi.h"
#include "notary/TicketAuthority.h"
#include "tools/NotarytoolVerbs.h"

#include <ostream>

namespace tools {

using notary::CredentialProfile;

namespace {

constexpr const char* introduction =
    "\nThis process stores your credentials securely in the Keychain. You reference these "
    "credentials later using a profile name.\n\n";

CredentialProfile profileFrom(const Arguments& arguments)
{
    CredentialProfile profile{.name = arguments.onlyOperand()};
    if (arguments.has("--key")) {
        profile.kind = CredentialProfile::Kind::apiKey;
        profile.key = apiKeyFrom(arguments);
        profile.service.base =
            arguments.value("--service").value_or(notary::ServicePlace::publicService);
        while (profile.service.base.ends_with('/'))
            profile.service.base.pop_back();
        if (!notary::isSafeUrl(profile.service.base))
            throw UsageError("--service: an address with https, or one of this host with http");
        return profile;
    }
    if (!arguments.has("--apple-id"))
        throw UsageError("Either --key with --key-id, or --apple-id with --team-id, must be given");
    if (arguments.has("--service"))
        throw UsageError("--service: only together with --key");
    profile.kind = CredentialProfile::Kind::appleId;
    profile.appleId = arguments.required("--apple-id");
    profile.teamId = arguments.required("--team-id");
    return profile;
}

/// By the one question that changes nothing.
void validate(const NotarySession& session, const CredentialProfile& profile)
{
    session.out << "Validating your credentials...\n" << std::flush;
    notary::NotaryApi(session.host.client, session.host.clock, profile.key, profile.service)
        .history();
    session.out << "Success. Credentials validated.\n";
}

} // namespace

void storeCredentials(NotarySession& session)
{
    const CredentialProfile profile = profileFrom(session.arguments);
    session.out << introduction;
    if (profile.kind == CredentialProfile::Kind::appleId)
        session.out << "Not validated: the public interface of the notary service takes API keys, "
                       "no Apple ID. The\npassword is of no use here and was not kept. What is "
                       "submitted under this profile is judged by\nthe local authority of this "
                       "host.\n  "
                    << notary::localNote << '\n';
    else if (!session.arguments.has("--no-validate"))
        validate(session, profile);
    session.profiles().store(profile);
    session.out << "Credentials saved to Keychain.\nTo use them, specify `--keychain-profile \""
                << profile.name << "\"`\n";
}

} // namespace tools
