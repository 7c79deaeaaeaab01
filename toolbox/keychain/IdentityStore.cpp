#include "keychain/IdentityStore.h"

#include "bytes/FormatError.h"
#include "keychain/PrivateFolder.h"

#include <algorithm>
#include <optional>
#include <sstream>

namespace keychain {

namespace fs = std::filesystem;
using bytes::FormatError;

namespace {

constexpr std::size_t fingerprintLength = 40;
constexpr const char* rootsName = "roots";
constexpr const char* certificatesName = "certificates";
constexpr const char* revokedName = "revoked";

std::string mapped(std::string text, char first, char last, int distance)
{
    for (char& letter : text)
        if (letter >= first && letter <= last)
            letter = static_cast<char>(letter + distance);
    return text;
}

std::string upper(std::string text)
{
    return mapped(std::move(text), 'a', 'z', 'A' - 'a');
}

std::string lower(std::string text)
{
    return mapped(std::move(text), 'A', 'Z', 'a' - 'A');
}

bool isFingerprint(const std::string& text)
{
    return text.size() == fingerprintLength
        && upper(text).find_first_not_of("0123456789ABCDEF") == std::string::npos;
}

/// The fingerprint in the name of a certificate's file; none for other files.
std::optional<std::string> fingerprintIn(const std::string& fileName)
{
    const fs::path path(fileName);
    const std::string stem = path.stem();
    if (path.extension() != ".pem" || !isFingerprint(stem) || stem != upper(stem))
        return std::nullopt;
    return stem;
}

Certificate readCertificate(const PrivateFolder& folder, const std::string& fingerprint)
{
    Certificate certificate = Certificate::fromPem(folder.read(fingerprint + ".pem"));
    if (certificate.fingerprint() != fingerprint)
        throw FormatError("the certificate is not the one that the name says");
    return certificate;
}

/// Damaged ones are left out: what they would complete stays incomplete and says so.
std::vector<Certificate> readCertificates(const PrivateFolder& folder)
{
    std::vector<Certificate> all;
    for (const std::string& name : folder.names()) {
        const auto fingerprint = fingerprintIn(name);
        if (!fingerprint)
            continue;
        try {
            all.push_back(readCertificate(folder, *fingerprint));
        } catch (const FormatError&) {
            continue;
        }
    }
    return all;
}

/// Does not write what is there already.
bool writeCertificate(const PrivateFolder& folder, const Certificate& certificate)
{
    const bytes::File lock = folder.lock();
    const std::string name = certificate.fingerprint() + ".pem";
    if (folder.has(name))
        return false;
    folder.write(name, certificate.pem());
    return true;
}

Identity readIdentity(const PrivateFolder& folder, const std::string& fingerprint,
    const TrustedRoots& roots, std::vector<Certificate> others)
{
    const Certificate certificate = readCertificate(folder, fingerprint);
    PrivateKey key = PrivateKey::fromPem(folder.read(fingerprint + ".key"));
    if (!key.fits(certificate))
        throw FormatError("the key is not that of the certificate");
    if (folder.has(fingerprint + ".chain"))
        for (Certificate& issuer : Certificate::allFromPem(folder.read(fingerprint + ".chain")))
            others.push_back(std::move(issuer));
    std::vector<Certificate> chain = roots.chainOf(certificate, others);
    const bool isLocal = roots.kindOf(chain.back()) == TrustedRoots::Kind::rehearsal;
    chain.erase(chain.begin());
    return {certificate, std::move(chain), std::move(key), isLocal};
}

Validity validityOf(const Identity& identity, const TrustedRoots& roots)
{
    switch (roots.trustOf(identity.chain(), now())) {
    case Trust::notTrusted:
        return Validity::notTrusted;
    case Trust::revoked:
        return Validity::revoked;
    case Trust::expired:
        return Validity::expired;
    case Trust::notYetValid:
        return Validity::notYetValid;
    case Trust::trusted:
        break;
    }
    return identity.certificate.allowsCodeSigning() ? Validity::valid : Validity::wrongUsage;
}

std::vector<const Identity*> matches(const IdentityList& list, const std::string& query)
{
    std::vector<const Identity*> whole;
    std::vector<const Identity*> partial;
    for (const IdentityEntry& entry : list.entries) {
        const std::string name = lower(entry.identity.certificate.commonName());
        if (name == lower(query))
            whole.push_back(&entry.identity);
        else if (!query.empty() && name.find(lower(query)) != std::string::npos)
            partial.push_back(&entry.identity);
    }
    return whole.empty() ? partial : whole;
}

} // namespace

IdentityStore::IdentityStore(const fs::path& stateFolder)
    : m_folder(fs::absolute(stateFolder).lexically_normal() / "identities")
{
    fs::create_directories(m_folder.parent_path());
    for (const fs::path& folder : {m_folder, m_folder / rootsName, m_folder / certificatesName})
        PrivateFolder{folder};
}

IdentityList IdentityStore::list() const
{
    const PrivateFolder folder(m_folder);
    const TrustedRoots roots = trustedRoots();
    const std::vector<Certificate> others = certificates();
    IdentityList list;
    for (const std::string& name : folder.names()) {
        const auto fingerprint = fingerprintIn(name);
        if (!fingerprint)
            continue;
        try {
            Identity identity = readIdentity(folder, *fingerprint, roots, others);
            const Validity validity = validityOf(identity, roots);
            list.entries.push_back({std::move(identity), validity});
        } catch (const std::exception& fault) {
            list.notes.push_back(*fingerprint + " can't be used: " + fault.what());
        }
    }
    return list;
}

Identity IdentityStore::find(const std::string& query) const
{
    using Case = IdentityNotFound::Case;
    const IdentityList all = list();
    std::vector<const Identity*> found;
    if (isFingerprint(query)) {
        for (const IdentityEntry& entry : all.entries)
            if (entry.identity.certificate.fingerprint() == upper(query))
                found.push_back(&entry.identity);
    } else {
        found = matches(all, query);
    }
    if (found.empty())
        throw IdentityNotFound(Case::unknown, query + ": no identity found");
    const std::string name = found[0]->certificate.commonName();
    if (found.size() > 1) {
        throw IdentityNotFound(Case::ambiguous,
            query + ": ambiguous (matches \"" + name + "\" and \""
                + found[1]->certificate.commonName() + "\" in " + m_folder.string() + ")");
    }
    if (!found[0]->certificate.allowsCodeSigning())
        throw IdentityNotFound(
            Case::wrongUsage, name + ": this identity cannot be used for signing code");
    return *found[0];
}

bool IdentityStore::add(const Identity& identity)
{
    const PrivateFolder folder(m_folder);
    const bytes::File lock = folder.lock();
    const std::string fingerprint = identity.certificate.fingerprint();
    if (folder.has(fingerprint + ".pem"))
        return false;
    std::string chain;
    for (const Certificate& issuer : identity.issuers)
        chain += issuer.pem();
    // The certificate's file makes it an identity, so it comes last.
    folder.write(fingerprint + ".key", identity.key.pem());
    folder.write(fingerprint + ".chain", chain);
    folder.write(fingerprint + ".pem", identity.certificate.pem());
    return true;
}

bool IdentityStore::addCertificate(const Certificate& certificate)
{
    return writeCertificate(PrivateFolder(m_folder / certificatesName), certificate);
}

bool IdentityStore::remove(const std::string& fingerprint)
{
    if (!isFingerprint(fingerprint))
        return false;
    const PrivateFolder folder(m_folder);
    const bytes::File lock = folder.lock();
    const std::string name = upper(fingerprint);
    const bool wasThere = folder.remove(name + ".pem");
    folder.remove(name + ".key");
    folder.remove(name + ".chain");
    return wasThere;
}

std::vector<Certificate> IdentityStore::certificates() const
{
    return readCertificates(PrivateFolder(m_folder / certificatesName));
}

void IdentityStore::addRehearsalRoot(const Certificate& root)
{
    writeCertificate(PrivateFolder(m_folder / rootsName), root);
}

void IdentityStore::revoke(const std::string& fingerprint)
{
    const PrivateFolder folder(m_folder);
    const bytes::File lock = folder.lock();
    std::string lines = folder.has(revokedName) ? folder.read(revokedName) : "";
    if (!lines.empty() && !lines.ends_with('\n'))
        lines += '\n';
    folder.write(revokedName, lines + upper(fingerprint) + '\n');
}

TrustedRoots IdentityStore::trustedRoots() const
{
    TrustedRoots roots;
    for (const Certificate& root : readCertificates(PrivateFolder(m_folder / rootsName)))
        roots.addRehearsalRoot(root);
    const PrivateFolder folder(m_folder);
    std::istringstream lines(folder.has(revokedName) ? folder.read(revokedName) : "");
    for (std::string line; lines >> line;)
        roots.revoke(upper(line));
    return roots;
}

} // namespace keychain
