#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "keychain/IdentityFile.h"
#include "keychain/LocalAuthority.h"
#include "tools/SecurityVerbs.h"

#include <algorithm>
#include <ostream>
#include <vector>

namespace tools {

using keychain::Identity;
using keychain::IdentityFile;

namespace {

/// No file of keys comes near it.
constexpr uint64_t longestFile = 64 << 20;

std::vector<std::byte> contentOf(const std::string& path)
{
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    if (file.size() > longestFile)
        throw SecurityFailure("SecKeychainItemImport: Unknown format in import.");
    std::vector<std::byte> content(file.size());
    file.readAt(0, content);
    return content;
}

IdentityFile readFile(const std::string& path, const std::string& password)
{
    try {
        return IdentityFile::read(contentOf(path), password);
    } catch (const keychain::WrongPassword&) {
        throw SecurityFailure("SecKeychainItemImport: MAC verification failed during PKCS12 import "
                              "(wrong password?)");
    } catch (const bytes::FormatError&) {
        throw SecurityFailure("SecKeychainItemImport: Unknown format in import.");
    }
}

std::string countText(std::size_t count, const char* one, const char* several)
{
    if (count == 0)
        return {};
    return std::to_string(count) + " " + (count == 1 ? one : several) + " imported.\n";
}

/// A key that is gone is gone, so nothing is deleted by a part of its name.
std::string fingerprintOf(const KeychainSession& session)
{
    if (const auto fingerprint = session.arguments.value("-Z"))
        return *fingerprint;
    const std::string name = session.arguments.required("-c");
    std::vector<std::string> found;
    for (const auto& entry : session.store.list().entries) {
        if (entry.identity.certificate.commonName() == name)
            found.push_back(entry.identity.certificate.fingerprint());
    }
    if (found.size() > 1)
        throw SecurityFailure("several identities are named " + name + "; say which with -Z");
    return found.empty() ? "" : found[0];
}

} // namespace

int importIdentities(KeychainSession& session)
{
    const std::string& path = session.arguments.onlyOperand();
    const IdentityFile file = readFile(path, session.arguments.value("-P").value_or(""));
    const auto identities = static_cast<std::size_t>(std::ranges::count_if(
        file.identities, [&](const Identity& one) { return session.store.add(one); }));
    const auto certificates = static_cast<std::size_t>(std::ranges::count_if(
        file.certificates, [&](const auto& one) { return session.store.addCertificate(one); }));
    if (identities + certificates == 0)
        throw SecurityFailure(
            "SecKeychainItemImport: The specified item already exists in the keychain.");
    session.out << countText(identities, "identity", "identities")
            + countText(certificates, "certificate", "certificates");
    return 0;
}

int deleteIdentity(KeychainSession& session)
{
    if (!session.store.remove(fingerprintOf(session)))
        throw SecurityFailure::notFound();
    return 0;
}

int createIdentity(KeychainSession& session)
{
    const auto& operands = session.arguments.operands();
    if (operands.size() != 2)
        throw UsageError("a name and a team identifier are needed");
    try {
        keychain::LocalAuthority::check(operands[0], operands[1]);
    } catch (const std::invalid_argument& mistake) {
        throw UsageError(mistake.what());
    }
    const keychain::LocalAuthority authority(session.store);
    const Identity identity = authority.createIdentity(session.store, operands[0], operands[1]);
    session.out << identity.certificate.fingerprint() + " \"" + identity.certificate.commonName()
            + "\"\nnote=local rehearsal identity, not from Apple: no other computer trusts it\n";
    return 0;
}

} // namespace tools
