#include "keychain/IdentityFile.h"

#include "bytes/FormatError.h"
#include "keychain/DecryptionBudget.h"
#include "keychain/Pkcs12.h"

#include <algorithm>
#include <cstring>
#include <openssl/pem.h>
#include <string_view>

namespace keychain {

using bytes::FormatError;

namespace {

using EncryptedKeyOwner = std::unique_ptr<X509_SIG, Free<X509_SIG_free>>;
using KeyInfoOwner = std::unique_ptr<PKCS8_PRIV_KEY_INFO, Free<PKCS8_PRIV_KEY_INFO_free>>;

int givePassword(char* buffer, int size, int, void* given)
{
    const auto& password = *static_cast<const std::string*>(given);
    if (static_cast<std::size_t>(size) < password.size())
        return -1;
    std::memcpy(buffer, password.data(), password.size());
    return static_cast<int>(password.size());
}

/// One piece of a PEM file, from its BEGIN to its END.
class PemPiece {
public:
    /// The next piece of `source`; false when there is no more.
    bool readFrom(BIO* source);

    bool isCertificate() const { return m_name == PEM_STRING_X509; }
    bool isKey() const { return m_name.ends_with("PRIVATE KEY"); }
    Certificate certificate() const { return Certificate::fromDer(m_data); }
    PrivateKey key(const std::string& password, DecryptionBudget& budget);

private:
    KeyOwner decryptedKey(const std::string& password, DecryptionBudget& budget) const;
    void decryptOldStyle(const std::string& password);

    std::string m_name, m_header;
    std::vector<std::byte> m_data;
};

bool PemPiece::readFrom(BIO* source)
{
    char* name = nullptr;
    char* header = nullptr;
    unsigned char* data = nullptr;
    long size = 0;
    const bool isRead = PEM_read_bio(source, &name, &header, &data, &size) == 1;
    if (isRead) {
        m_name = name;
        m_header = header;
        const auto view = std::as_bytes(std::span(data, static_cast<std::size_t>(size)));
        m_data.assign(view.begin(), view.end());
        OPENSSL_cleanse(data, static_cast<std::size_t>(size));
    }
    OPENSSL_free(name);
    OPENSSL_free(header);
    OPENSSL_free(data);
    forgetErrors();
    return isRead;
}

/// The form with "Proc-Type: 4,ENCRYPTED", where the cipher stands in the header.
void PemPiece::decryptOldStyle(const std::string& password)
{
    EVP_CIPHER_INFO cipher{};
    auto size = static_cast<long>(m_data.size());
    std::string given = password;
    const bool isKnown = PEM_get_EVP_CIPHER_INFO(m_header.data(), &cipher) == 1;
    const bool isDone = isKnown
        && PEM_do_header(&cipher, reinterpret_cast<unsigned char*>(m_data.data()), &size,
               givePassword, &given)
            == 1;
    forgetErrors();
    if (!isKnown)
        throw FormatError("a key in an unknown encryption");
    if (!isDone)
        throw WrongPassword();
    m_data.resize(static_cast<std::size_t>(size));
}

KeyOwner PemPiece::decryptedKey(const std::string& password, DecryptionBudget& budget) const
{
    const auto encrypted = fromDer<EncryptedKeyOwner>(m_data, d2i_X509_SIG);
    if (!encrypted)
        return nullptr;
    const X509_ALGOR* scheme = nullptr;
    X509_SIG_get0(encrypted.get(), &scheme, nullptr);
    budget.spendFor(scheme);
    const KeyInfoOwner info(
        PKCS8_decrypt(encrypted.get(), password.data(), static_cast<int>(password.size())));
    forgetErrors();
    if (!info)
        throw WrongPassword();
    return KeyOwner(EVP_PKCS82PKEY(info.get()));
}

PrivateKey PemPiece::key(const std::string& password, DecryptionBudget& budget)
{
    KeyOwner key;
    if (m_name == PEM_STRING_PKCS8) {
        key = decryptedKey(password, budget);
    } else {
        if (!m_header.empty())
            decryptOldStyle(password);
        const auto* raw = reinterpret_cast<const unsigned char*>(m_data.data());
        key.reset(d2i_AutoPrivateKey(nullptr, &raw, static_cast<long>(m_data.size())));
    }
    forgetErrors();
    // The padding of the old form accepts one wrong password in 256.
    if (!key && !m_header.empty())
        throw WrongPassword();
    if (!key)
        throw FormatError("a damaged key");
    return PrivateKey(std::move(key));
}

KeysAndCertificates readPem(std::span<const std::byte> file, const std::string& password)
{
    KeysAndCertificates found;
    DecryptionBudget budget;
    const BioOwner source = readingFrom(file);
    for (PemPiece piece; piece.readFrom(source.get());) {
        if (piece.isCertificate())
            found.certificates.push_back(piece.certificate());
        else if (piece.isKey())
            found.keys.push_back(piece.key(password, budget));
    }
    return found;
}

bool looksLikePem(std::span<const std::byte> file)
{
    const std::string_view text(reinterpret_cast<const char*>(file.data()), file.size());
    return text.find("-----BEGIN ") != std::string_view::npos;
}

/// Gives every key its certificate, and every identity those above it.
IdentityFile matched(const KeysAndCertificates& found)
{
    IdentityFile file;
    std::vector<bool> used(found.certificates.size());
    for (const PrivateKey& key : found.keys) {
        for (std::size_t i = 0; i < found.certificates.size(); ++i) {
            const Certificate& certificate = found.certificates[i];
            if (used[i] || !key.fits(certificate))
                continue;
            used[i] = true;
            std::vector<Certificate> chain = chainFrom(certificate, found.certificates);
            chain.erase(chain.begin());
            file.identities.push_back({certificate, std::move(chain), key});
        }
    }
    for (std::size_t i = 0; i < found.certificates.size(); ++i)
        if (!used[i])
            file.certificates.push_back(found.certificates[i]);
    return file;
}

} // namespace

IdentityFile IdentityFile::read(std::span<const std::byte> file, const std::string& password)
{
    IdentityFile found;
    if (looksLikePem(file))
        found = matched(readPem(file, password));
    else if (const auto pkcs12 = readPkcs12(file, password))
        found = matched(*pkcs12);
    else
        found.certificates.push_back(Certificate::fromDer(file));
    if (found.identities.empty() && found.certificates.empty())
        throw FormatError("no identity and no certificate in it");
    return found;
}

} // namespace keychain
