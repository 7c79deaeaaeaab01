#include "notary/TicketAuthority.h"

#include "keychain/CertificateIssue.h"
#include "keychain/TrustedRoots.h"

namespace notary {

using keychain::Certificate;
using keychain::CertificatePlan;
using keychain::PrivateFolder;
using keychain::PrivateKey;

namespace {

constexpr std::chrono::days lifetime{20 * 365};
constexpr const char* rootFile = "root.pem";
constexpr const char* signerFile = "signer.pem";
constexpr const char* keyFile = "signer.key";

CertificatePlan planFor(const char* commonName, std::vector<CertificatePlan::Extension> extensions)
{
    return {{{"CN", commonName}, {"OU", "Not Apple - valid on this host only"},
                {"O", "Vandor LOCAL STAND-IN"}},
        std::move(extensions), keychain::now(), lifetime};
}

void makeAuthority(const PrivateFolder& files)
{
    const PrivateKey rootKey = PrivateKey::generateElliptic();
    const PrivateKey key = PrivateKey::generateElliptic();
    const Certificate root =
        issueCertificate(planFor("Vandor LOCAL STAND-IN Ticket Root",
                             {{"basicConstraints", "critical,CA:TRUE"},
                                 {"keyUsage", "critical,keyCertSign,cRLSign"}}),
            rootKey, nullptr, rootKey);
    const Certificate signer = issueCertificate(
        planFor("Vandor LOCAL STAND-IN Ticket Signing",
            {{"basicConstraints", "critical,CA:FALSE"}, {"keyUsage", "critical,digitalSignature"}}),
        key, &root, rootKey);
    files.write(rootFile, root.pem());
    files.write(signerFile, signer.pem());
    files.write(keyFile, key.pem());
}

std::filesystem::path placeIn(const TicketStore& store)
{
    return store.folder().path() / "authority";
}

} // namespace

TicketAuthority::TicketAuthority(const TicketStore& store)
    : TicketAuthority(PrivateFolder::establish(placeIn(store), makeAuthority))
{ }

TicketAuthority::TicketAuthority(const PrivateFolder& files)
    : m_chain{Certificate::fromPem(files.read(signerFile)),
        Certificate::fromPem(files.read(rootFile))}
    , m_key(PrivateKey::fromPem(files.read(keyFile)))
{ }

std::optional<Certificate> TicketAuthority::rootIn(const TicketStore& store)
{
    if (!std::filesystem::exists(placeIn(store) / rootFile))
        return std::nullopt;
    return Certificate::fromPem(PrivateFolder(placeIn(store)).read(rootFile));
}

std::vector<std::byte> TicketAuthority::issue(
    const TicketStore& store, std::vector<TicketHash> hashes) const
{
    const Ticket ticket{.chain = m_chain, .hashes = std::move(hashes), .issued = keychain::now()};
    const std::vector<std::byte> raw = ticket.sign(m_key);
    for (const TicketHash& hash : ticket.hashes)
        store.put(hash, raw);
    return raw;
}

} // namespace notary
