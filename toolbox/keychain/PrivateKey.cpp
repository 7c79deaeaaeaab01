#include "keychain/PrivateKey.h"

#include "bytes/FormatError.h"

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

namespace keychain {

namespace {

constexpr unsigned developerKeyBits = 2048;

/// Keeps OpenSSL from asking for a passphrase at the terminal.
int noPassphrase(char*, int, int, void*)
{
    return -1;
}

} // namespace

PrivateKey::PrivateKey(KeyOwner key)
    : m_key(std::move(key))
{ }

PrivateKey PrivateKey::generate()
{
    return PrivateKey(required(KeyOwner(EVP_RSA_gen(developerKeyBits)), "making a key"));
}

PrivateKey PrivateKey::generateElliptic()
{
    return PrivateKey(required(KeyOwner(EVP_EC_gen("P-256")), "making a key"));
}

PrivateKey PrivateKey::fromPem(std::string_view text)
{
    const BioOwner source = readingFrom(std::as_bytes(std::span(text.data(), text.size())));
    KeyOwner key(PEM_read_bio_PrivateKey(source.get(), nullptr, noPassphrase, nullptr));
    forgetErrors();
    if (!key)
        throw bytes::FormatError("not a private key");
    return PrivateKey(std::move(key));
}

std::string PrivateKey::pem() const
{
    const BioOwner sink = writingToMemory();
    require(PEM_write_bio_PKCS8PrivateKey(
                sink.get(), m_key.get(), nullptr, nullptr, 0, nullptr, nullptr),
        "writing a key");
    const auto raw = writtenTo(sink.get());
    return {reinterpret_cast<const char*>(raw.data()), raw.size()};
}

bool PrivateKey::fits(const Certificate& certificate) const
{
    const bool fitting = X509_check_private_key(certificate.get(), m_key.get()) == 1;
    forgetErrors();
    return fitting;
}

} // namespace keychain
