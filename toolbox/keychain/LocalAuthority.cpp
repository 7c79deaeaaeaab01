#include "keychain/LocalAuthority.h"

#include "bytes/Unicode.h"
#include "keychain/CertificateIssue.h"
#include "keychain/PrivateFolder.h"

#include <algorithm>
#include <openssl/rand.h>

namespace keychain {

namespace {

constexpr std::chrono::days authorityLifetime{20 * 365};
constexpr std::chrono::days identityLifetime{5 * 365};
constexpr std::size_t teamLength = 10;
constexpr std::size_t longestName = 64; // UTF-16 units

constexpr const char* organization = "Vandor Local Rehearsal";
constexpr const char* notApple = "Not Apple - valid on this host only";

CertificatePlan planFor(const char* commonName, std::vector<CertificatePlan::Extension> extensions)
{
    return {{{"CN", commonName}, {"OU", notApple}, {"O", organization}}, std::move(extensions),
        now(), authorityLifetime};
}

CertificatePlan rootPlan()
{
    return planFor("Vandor Local Rehearsal Root",
        {{"basicConstraints", "critical,CA:TRUE"}, {"keyUsage", "critical,keyCertSign,cRLSign"}});
}

CertificatePlan issuerPlan()
{
    return planFor("Vandor Local Rehearsal Developer ID CA",
        {{"basicConstraints", "critical,CA:TRUE,pathlen:0"},
            {"keyUsage", "critical,digitalSignature,keyCertSign,cRLSign"},
            {"1.2.840.113635.100.6.2.6", "DER:05:00"}});
}

CertificatePlan stamperPlan()
{
    return planFor("Vandor Local Rehearsal Time Stamp",
        {{"basicConstraints", "critical,CA:FALSE"}, {"keyUsage", "critical,digitalSignature"},
            {"extendedKeyUsage", "critical,timeStamping"}});
}

/// "20240101000000Z".
std::string compactTime(Time time)
{
    const std::time_t seconds = time.time_since_epoch().count();
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y%m%d%H%M%SZ", &parts)};
}

/// A Developer ID Application certificate in all that a reader looks at.
CertificatePlan identityPlan(const std::string& name, const std::string& team)
{
    const Time start = now();
    return {{{"UID", team}, {"CN", "Developer ID Application: " + name + " (" + team + ")"},
                {"OU", team}, {"O", name}, {"C", "US"}},
        {{"basicConstraints", "critical,CA:FALSE"}, {"keyUsage", "critical,digitalSignature"},
            {"extendedKeyUsage", "critical,codeSigning"},
            {"1.2.840.113635.100.6.1.13", "critical,DER:05:00"},
            {"1.2.840.113635.100.6.1.33", "ASN1:UTF8String:" + compactTime(start)}},
        start, identityLifetime};
}

void checkTeam(const std::string& team)
{
    const bool isPlain = std::ranges::all_of(team, [](char letter) {
        return (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9');
    });
    if (team.size() != teamLength || !isPlain)
        throw std::invalid_argument("a team identifier is ten characters of A-Z and 0-9");
}

void checkName(const std::string& name)
{
    const auto units = bytes::utf16FromUtf8(name);
    const bool isPlain = units && std::ranges::none_of(*units, [](char16_t unit) {
        return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == u'"' || unit == 0x2028
            || unit == 0x2029;
    });
    if (!isPlain || name.find_first_not_of(' ') == std::string::npos)
        throw std::invalid_argument("a name is plain text without quotes");
    if (units->size() > longestName)
        throw std::invalid_argument("the name is longer than 64 characters");
}

/// The root's own key is thrown away, so nothing else can ever be issued by it.
void makeAuthority(const PrivateFolder& files)
{
    const PrivateKey rootKey = PrivateKey::generate();
    const PrivateKey issuerKey = PrivateKey::generate();
    const PrivateKey stamperKey = PrivateKey::generate();
    const Certificate root = issueCertificate(rootPlan(), rootKey, nullptr, rootKey);
    files.write("root.pem", root.pem());
    files.write("issuer.pem", issueCertificate(issuerPlan(), issuerKey, &root, rootKey).pem());
    files.write("issuer.key", issuerKey.pem());
    files.write("stamper.pem", issueCertificate(stamperPlan(), stamperKey, &root, rootKey).pem());
    files.write("stamper.key", stamperKey.pem());
}

PrivateFolder authorityFolder(const IdentityStore& store)
{
    return PrivateFolder::establish(store.folder().parent_path() / "authority", makeAuthority);
}

using StampContextOwner = std::unique_ptr<TS_RESP_CTX, Free<TS_RESP_CTX_free>>;
using StampResponseOwner = std::unique_ptr<TS_RESP, Free<TS_RESP_free>>;

ASN1_INTEGER* randomSerial(TS_RESP_CTX*, void*)
{
    uint64_t number = 0;
    if (RAND_bytes(reinterpret_cast<unsigned char*>(&number), sizeof number) != 1)
        return nullptr;
    ASN1_INTEGER* serial = ASN1_INTEGER_new();
    if (serial != nullptr)
        ASN1_INTEGER_set_uint64(serial, number >> 1);
    return serial;
}

int stateTime(TS_RESP_CTX*, void* time, long* seconds, long* microseconds)
{
    *seconds = static_cast<Time*>(time)->time_since_epoch().count();
    *microseconds = 0;
    return 1;
}

} // namespace

LocalAuthority::LocalAuthority(IdentityStore& store)
    : LocalAuthority(authorityFolder(store))
{
    store.addRehearsalRoot(m_root);
}

LocalAuthority::LocalAuthority(const PrivateFolder& files)
    : m_root(Certificate::fromPem(files.read("root.pem")))
    , m_issuer(Certificate::fromPem(files.read("issuer.pem")))
    , m_issuerKey(PrivateKey::fromPem(files.read("issuer.key")))
    , m_stamper(Certificate::fromPem(files.read("stamper.pem")))
    , m_stamperKey(PrivateKey::fromPem(files.read("stamper.key")))
{ }

void LocalAuthority::check(const std::string& name, const std::string& team)
{
    checkName(name);
    checkTeam(team);
}

Identity LocalAuthority::createIdentity(
    IdentityStore& store, const std::string& name, const std::string& team) const
{
    check(name, team);
    PrivateKey key = PrivateKey::generate();
    Certificate certificate =
        issueCertificate(identityPlan(name, team), key, &m_issuer, m_issuerKey);
    Identity identity{std::move(certificate), {m_issuer, m_root}, std::move(key), true};
    store.add(identity);
    return identity;
}

std::vector<std::byte> LocalAuthority::timeStampResponse(
    std::span<const std::byte> request, Time time) const
{
    const StampContextOwner context =
        required(StampContextOwner(TS_RESP_CTX_new()), "preparing a time stamp");
    // The policy that the public service states as well: none in particular.
    const ObjectOwner policy(OBJ_txt2obj("1.2.3.4.5.6", 1));
    const std::unique_ptr<STACK_OF(X509),
        decltype([](STACK_OF(X509) * stack) { sk_X509_free(stack); })>
        issuers(sk_X509_new_null());
    require(sk_X509_push(issuers.get(), m_root.get()) > 0 ? 1 : 0, "preparing a time stamp");
    const bool isReady = TS_RESP_CTX_set_signer_cert(context.get(), m_stamper.get()) == 1
        && TS_RESP_CTX_set_signer_key(context.get(), m_stamperKey.get()) == 1
        && TS_RESP_CTX_set_certs(context.get(), issuers.get()) == 1
        && TS_RESP_CTX_set_def_policy(context.get(), policy.get()) == 1
        && TS_RESP_CTX_add_md(context.get(), EVP_sha256()) == 1
        && TS_RESP_CTX_set_signer_digest(context.get(), EVP_sha256()) == 1
        && TS_RESP_CTX_set_accuracy(context.get(), 1, 0, 0) == 1;
    require(isReady ? 1 : 0, "preparing a time stamp");
    TS_RESP_CTX_set_serial_cb(context.get(), randomSerial, nullptr);
    TS_RESP_CTX_set_time_cb(context.get(), stateTime, &time);

    const BioOwner source = readingFrom(request);
    const StampResponseOwner response = required(
        StampResponseOwner(TS_RESP_create_response(context.get(), source.get())), "time stamping");
    forgetErrors();
    return derOf(response.get(), i2d_TS_RESP);
}

} // namespace keychain
