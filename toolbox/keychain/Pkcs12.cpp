#include "keychain/Pkcs12.h"

#include "bytes/FormatError.h"
#include "keychain/DecryptionBudget.h"
#include "keychain/IdentityFile.h"

#include <openssl/provider.h>

namespace keychain {

using bytes::FormatError;

namespace {

/// Bags may hold bags.
constexpr int deepestBag = 8;

using BagsOwner = std::unique_ptr<STACK_OF(PKCS12_SAFEBAG),
    decltype([](auto* bags) { sk_PKCS12_SAFEBAG_pop_free(bags, PKCS12_SAFEBAG_free); })>;
using SafesOwner = std::unique_ptr<STACK_OF(PKCS7),
    decltype([](auto* safes) { sk_PKCS7_pop_free(safes, PKCS7_free); })>;
using KeyInfoOwner = std::unique_ptr<PKCS8_PRIV_KEY_INFO, Free<PKCS8_PRIV_KEY_INFO_free>>;

/// Keychains and old tools write RC2 and triple DES, which OpenSSL 3 keeps apart. Loading one
/// provider by name ends the silent loading of the default one.
void allowOldCiphers()
{
    [[maybe_unused]] static const OSSL_PROVIDER* loaded[] = {
        OSSL_PROVIDER_load(nullptr, "default"), OSSL_PROVIDER_load(nullptr, "legacy")};
    forgetErrors();
}

class Pkcs12Reader {
public:
    Pkcs12Reader(PKCS12* file, const std::string& password);
    KeysAndCertificates read();

private:
    bool opens(const char* password);
    void readSafe(PKCS7* safe);
    void readBags(const STACK_OF(PKCS12_SAFEBAG) * bags, int depth);
    void readBag(PKCS12_SAFEBAG* bag, int depth);
    void addKey(const PKCS8_PRIV_KEY_INFO* key);
    [[noreturn]] void failToDecrypt() const;

    PKCS12* m_file;
    DecryptionBudget m_budget;
    const char* m_password;
    bool m_isProven; // the password has passed the integrity check
    KeysAndCertificates m_found;
};

Pkcs12Reader::Pkcs12Reader(PKCS12* file, const std::string& password)
    : m_file(file)
    , m_password(password.c_str())
    , m_isProven(PKCS12_mac_present(file) == 1)
{
    if (!m_isProven || opens(m_password))
        return;
    // "No password" and "an empty one" make different keys, and programs write both.
    m_password = nullptr;
    if (!password.empty() || !opens(m_password))
        throw WrongPassword();
}

bool Pkcs12Reader::opens(const char* password)
{
    const ASN1_INTEGER* iterations = nullptr;
    PKCS12_get0_mac(nullptr, nullptr, nullptr, &iterations, m_file);
    m_budget.spend(iterations == nullptr ? 1 : ASN1_INTEGER_get(iterations));
    const bool opened = PKCS12_verify_mac(m_file, password, -1) == 1;
    forgetErrors();
    return opened;
}

KeysAndCertificates Pkcs12Reader::read()
{
    const SafesOwner safes(PKCS12_unpack_authsafes(m_file));
    forgetErrors();
    if (!safes)
        throw FormatError("a damaged PKCS#12 file");
    for (int i = 0; i < sk_PKCS7_num(safes.get()); ++i)
        readSafe(sk_PKCS7_value(safes.get(), i));
    return std::move(m_found);
}

void Pkcs12Reader::readSafe(PKCS7* safe)
{
    BagsOwner bags;
    if (PKCS7_type_is_data(safe)) {
        bags.reset(PKCS12_unpack_p7data(safe));
    } else if (PKCS7_type_is_encrypted(safe) && safe->d.encrypted != nullptr) {
        m_budget.spendFor(safe->d.encrypted->enc_data->algorithm);
        bags.reset(PKCS12_unpack_p7encdata(safe, m_password, -1));
        if (!bags)
            failToDecrypt();
    }
    if (!bags)
        throw FormatError("a damaged PKCS#12 file");
    readBags(bags.get(), 0);
}

void Pkcs12Reader::readBags(const STACK_OF(PKCS12_SAFEBAG) * bags, int depth)
{
    if (depth > deepestBag)
        throw FormatError("a PKCS#12 file with too many bags in bags");
    for (int i = 0; i < sk_PKCS12_SAFEBAG_num(bags); ++i)
        readBag(sk_PKCS12_SAFEBAG_value(bags, i), depth);
}

void Pkcs12Reader::readBag(PKCS12_SAFEBAG* bag, int depth)
{
    switch (PKCS12_SAFEBAG_get_nid(bag)) {
    case NID_keyBag:
        addKey(PKCS12_SAFEBAG_get0_p8inf(bag));
        break;
    case NID_pkcs8ShroudedKeyBag: {
        const X509_ALGOR* scheme = nullptr;
        X509_SIG_get0(PKCS12_SAFEBAG_get0_pkcs8(bag), &scheme, nullptr);
        m_budget.spendFor(scheme);
        const KeyInfoOwner key(PKCS12_decrypt_skey(bag, m_password, -1));
        if (!key)
            failToDecrypt();
        addKey(key.get());
        break;
    }
    case NID_certBag:
        if (const CertificateOwner certificate{PKCS12_SAFEBAG_get1_cert(bag)})
            m_found.certificates.emplace_back(certificate.get());
        break;
    case NID_safeContentsBag:
        readBags(PKCS12_SAFEBAG_get0_safes(bag), depth + 1);
        break;
    default:
        break; // revocation lists and secrets are nothing to us
    }
    forgetErrors();
}

void Pkcs12Reader::addKey(const PKCS8_PRIV_KEY_INFO* info)
{
    KeyOwner key(info == nullptr ? nullptr : EVP_PKCS82PKEY(info));
    forgetErrors();
    if (!key)
        throw FormatError("a damaged key in a PKCS#12 file");
    m_found.keys.emplace_back(std::move(key));
}

void Pkcs12Reader::failToDecrypt() const
{
    if (m_isProven)
        throw CryptoError("a PKCS#12 file can't be decrypted");
    forgetErrors();
    throw WrongPassword();
}

} // namespace

std::optional<KeysAndCertificates> readPkcs12(
    std::span<const std::byte> file, const std::string& password)
{
    const auto pkcs12 = fromDer<Pkcs12Owner>(file, d2i_PKCS12);
    if (!pkcs12)
        return std::nullopt;
    allowOldCiphers();
    return Pkcs12Reader(pkcs12.get(), password).read();
}

} // namespace keychain
