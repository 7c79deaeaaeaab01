#pragma once

#include <memory>
#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/pkcs12.h>
#include <openssl/ts.h>
#include <openssl/x509.h>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

/// Owners for OpenSSL's objects, and its errors as exceptions.
namespace keychain {

template <auto free>
struct Free {
    template <typename Object>
    void operator()(Object* object) const
    {
        free(object);
    }
};

using BioOwner = std::unique_ptr<BIO, Free<BIO_free_all>>;
using CmsOwner = std::unique_ptr<CMS_ContentInfo, Free<CMS_ContentInfo_free>>;
using KeyOwner = std::unique_ptr<EVP_PKEY, Free<EVP_PKEY_free>>;
using Pkcs12Owner = std::unique_ptr<PKCS12, Free<PKCS12_free>>;
using Pkcs7Owner = std::unique_ptr<PKCS7, Free<PKCS7_free>>;
using StoreOwner = std::unique_ptr<X509_STORE, Free<X509_STORE_free>>;
using StoreContextOwner = std::unique_ptr<X509_STORE_CTX, Free<X509_STORE_CTX_free>>;
using CertificateOwner = std::unique_ptr<X509, Free<X509_free>>;
using ObjectOwner = std::unique_ptr<ASN1_OBJECT, Free<ASN1_OBJECT_free>>;

/// A failure inside OpenSSL, with the reason that it gives.
class CryptoError : public std::runtime_error {
public:
    /// `what` was tried; the library's own last error is added and its queue emptied.
    explicit CryptoError(const std::string& what);
};

/// Throws CryptoError unless `success` is 1.
void require(int success, const char* what);
/// Throws CryptoError when `object` is null.
template <typename Owner>
Owner required(Owner object, const char* what)
{
    if (!object)
        throw CryptoError(what);
    return object;
}

/// Empties the error queue after a failure that was expected.
void forgetErrors();

/// A source over bytes that must outlive it.
BioOwner readingFrom(std::span<const std::byte> data);
/// A growing sink, and what was written into it.
BioOwner writingToMemory();
std::vector<std::byte> writtenTo(BIO* sink);

/// The object that `decode`, one of OpenSSL's d2i functions, finds at the start of `der`; null when
/// there is none.
template <typename Owner, typename Decode>
Owner fromDer(std::span<const std::byte> der, Decode decode)
{
    const auto* raw = reinterpret_cast<const unsigned char*>(der.data());
    Owner object(decode(nullptr, &raw, static_cast<long>(der.size())));
    if (!object)
        forgetErrors();
    return object;
}

/// The DER form of any object that has an i2d function.
template <typename Object, typename Encode>
std::vector<std::byte> derOf(Object* object, Encode encode)
{
    unsigned char* raw = nullptr;
    const int length = encode(object, &raw);
    if (length < 0)
        throw CryptoError("encoding");
    const auto view = std::as_bytes(std::span(raw, static_cast<std::size_t>(length)));
    std::vector<std::byte> der(view.begin(), view.end());
    OPENSSL_free(raw);
    return der;
}

} // namespace keychain
