#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "notary/Jwt.h"
#include "notary/LocalSubmissions.h"
#include "notary/PublicService.h"
#include "tools/NotarytoolVerbs.h"

#include <charconv>

namespace tools {

using notary::CredentialProfile;

namespace {

constexpr uint64_t longestKey = 64 << 10;

std::string readKey(const std::string& path)
{
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    if (file.size() > longestKey)
        throw bytes::FormatError(path + " is no key file: it is too long");
    std::string text(file.size(), '\0');
    file.readAt(0, std::as_writable_bytes(std::span(text)));
    return text;
}

CredentialProfile chosenProfile(const NotarySession& session)
{
    if (session.arguments.has("--key"))
        return {.name = {},
            .kind = CredentialProfile::Kind::apiKey,
            .key = apiKeyFrom(session.arguments)};
    const auto name = session.arguments.value("--keychain-profile");
    if (!name)
        throw UsageError("Either --keychain-profile, or --key with --key-id, must be given");
    if (auto profile = session.profiles().find(*name))
        return *std::move(profile);
    throw UnknownProfile(*name);
}

} // namespace

UnknownProfile::UnknownProfile(const std::string& name)
    : std::runtime_error("No Keychain password item found for profile: " + name
        + "\n\nRun 'notarytool store-credentials' to create another credential profile.")
{ }

notary::CredentialProfiles NotarySession::profiles() const
{
    return notary::CredentialProfiles(host.folder / "profiles");
}

notary::SubmissionStore NotarySession::submissions() const
{
    return notary::SubmissionStore(host.folder / "submissions");
}

notary::OutputFormat NotarySession::format() const
{
    const std::string name = arguments.value("--output-format").value_or("normal");
    if (name != "normal" && name != "json")
        throw UsageError("--output-format: normal or json; this tool writes no others");
    return name == "json" ? notary::OutputFormat::json : notary::OutputFormat::normal;
}

ChosenService::ChosenService(const NotarySession& session)
    : m_store(session.submissions())
{
    const CredentialProfile profile = chosenProfile(session);
    if (profile.kind == CredentialProfile::Kind::apiKey)
        m_service = std::make_unique<notary::PublicService>(
            session.host.client, session.host.clock, m_store, profile);
    else
        m_service =
            std::make_unique<notary::LocalSubmissions>(session.host.clock, m_store, profile.name);
}

notary::ApiKey apiKeyFrom(const Arguments& arguments)
{
    notary::ApiKey key{.keyId = arguments.required("--key-id"),
        .issuer = arguments.value("--issuer").value_or(""),
        .pem = readKey(arguments.required("--key"))};
    makeToken(key, {}); // says now what is wrong with it
    return key;
}

std::chrono::seconds durationFrom(const std::string& text)
{
    int64_t count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    const std::string unit(end, text.data() + text.size());
    const int64_t factor = unit.empty() || unit == "s" ? 1 : unit == "m" ? 60 : 3600;
    constexpr int64_t longest = int64_t{366} * 24 * 3600;
    if (error != std::errc() || count < 0 || count > longest / factor
        || (factor == 3600 && unit != "h"))
        throw UsageError("--timeout: a number with s, m or h behind it, at most a year");
    return std::chrono::seconds(count * factor);
}

} // namespace tools
