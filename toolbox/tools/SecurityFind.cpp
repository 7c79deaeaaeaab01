#include "tools/SecurityVerbs.h"
#include "tools/Text.h"

#include <algorithm>
#include <ostream>
#include <vector>

namespace tools {

using keychain::Certificate;
using keychain::IdentityEntry;
using keychain::IdentityList;
using keychain::Validity;

namespace {

constexpr const char* extendedKeyUsage = "2.5.29.37";

/// What identities are wanted for.
struct Policy {
    std::string_view option;
    std::string_view title;
    bool isCodeSigning;
};

constexpr std::array policies{
    Policy{"basic", "X.509 Basic", false},
    Policy{"codesigning", "Code Signing", true},
};

const Policy& policyOf(const Arguments& arguments)
{
    const std::string wanted = arguments.value("-p").value_or("basic");
    const auto policy = std::ranges::find(policies, wanted, &Policy::option);
    if (policy == policies.end())
        throw UsageError("-p " + wanted + ": no such policy here");
    return *policy;
}

/// A certificate that says what it is for must say code signing.
bool matches(const IdentityEntry& entry, const Policy& policy)
{
    const Certificate& certificate = entry.identity.certificate;
    return !policy.isCodeSigning || certificate.allowsCodeSigning()
        || !certificate.hasExtensionNamed(extendedKeyUsage);
}

bool isValid(const IdentityEntry& entry, const Policy& policy)
{
    return entry.validity == Validity::valid
        || (entry.validity == Validity::wrongUsage && !policy.isCodeSigning);
}

struct Listing {
    std::string lines;
    std::size_t count = 0;
};

Listing listed(const IdentityList& list, const Policy& policy, bool validOnly)
{
    Listing listing;
    for (const IdentityEntry& entry : list.entries) {
        const bool valid = isValid(entry, policy);
        if (!matches(entry, policy) || (validOnly && !valid))
            continue;
        const Certificate& certificate = entry.identity.certificate;
        ++listing.count;
        listing.lines += column(std::to_string(listing.count), 3, Align::right) + ") "
            + certificate.fingerprint() + " \"" + oneLine(certificate.commonName()) + "\""
            + (valid ? "" : std::string(" (") + keychain::errorName(entry.validity) + ")") + "\n";
    }
    return listing;
}

std::string validOnes(const IdentityList& list, const Policy& policy)
{
    const Listing valid = listed(list, policy, true);
    return valid.lines + "     " + std::to_string(valid.count) + " valid identities found\n";
}

/// Nobody shall take a rehearsal for the real thing.
std::string rehearsalNote(const IdentityList& list)
{
    const auto count = std::ranges::count_if(
        list.entries, [](const IdentityEntry& entry) { return entry.identity.isLocal; });
    if (count == 0)
        return {};
    return "     note=local rehearsal identities, not from Apple: " + std::to_string(count) + "\n";
}

std::string lower(std::string text)
{
    for (char& letter : text)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return text;
}

/// Those of identities first, then the others.
std::vector<Certificate> allCertificates(const keychain::IdentityStore& store)
{
    std::vector<Certificate> all;
    for (const IdentityEntry& entry : store.list().entries)
        all.push_back(entry.identity.certificate);
    std::ranges::copy(store.certificates(), std::back_inserter(all));
    std::ranges::copy(store.trustedRoots().rehearsalRoots(), std::back_inserter(all));
    return all;
}

std::string described(const Certificate& certificate, const keychain::IdentityStore& store,
    const Arguments& arguments)
{
    std::string text;
    if (arguments.has("-Z"))
        text += "SHA-1 hash: " + certificate.fingerprint() + "\n";
    if (arguments.has("-p"))
        return text + certificate.pem();
    return text + "keychain: \"" + store.folder().string()
        + "\"\nclass: 0x80001000 \nattributes:\n    \"labl\"<blob>=\""
        + oneLine(certificate.commonName()) + "\"\n";
}

} // namespace

int findIdentity(KeychainSession& session)
{
    const Policy& policy = policyOf(session.arguments);
    const IdentityList list = session.store.list();
    std::string text;
    if (!session.arguments.has("-v")) {
        const Listing matching = listed(list, policy, false);
        text = "\nPolicy: " + std::string(policy.title) + "\n  Matching identities\n"
            + matching.lines + "     " + std::to_string(matching.count)
            + " identities found\n\n  Valid identities only\n";
    }
    session.out << text + validOnes(list, policy) + rehearsalNote(list);
    for (const std::string& note : list.notes)
        session.err << "security: " << oneLine(note) << '\n';
    return 0;
}

int findCertificate(KeychainSession& session)
{
    const std::string wanted = lower(session.arguments.value("-c").value_or(""));
    std::string text;
    for (const Certificate& certificate : allCertificates(session.store)) {
        if (lower(certificate.commonName()).find(wanted) == std::string::npos)
            continue;
        text += described(certificate, session.store, session.arguments);
        if (!session.arguments.has("-a"))
            break;
    }
    if (text.empty() && !session.arguments.has("-a"))
        throw SecurityFailure::notFound();
    session.out << text;
    return 0;
}

} // namespace tools
