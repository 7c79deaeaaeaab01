#include "keychain/CertificateIssue.h"

#include <array>
#include <openssl/rand.h>
#include <openssl/x509v3.h>
#include <string_view>

namespace keychain {

namespace {

constexpr long version3 = 2;

using ExtensionOwner = std::unique_ptr<X509_EXTENSION, Free<X509_EXTENSION_free>>;
using NumberOwner = std::unique_ptr<BIGNUM, Free<BN_free>>;

void setSerial(X509* certificate)
{
    // Positive, and hard to guess.
    constexpr int bits = 63;
    const NumberOwner number = required(NumberOwner(BN_new()), "making a serial number");
    require(
        BN_rand(number.get(), bits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY), "making a serial number");
    if (BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) == nullptr)
        throw CryptoError("making a serial number");
}

void setSubject(X509* certificate, const std::vector<CertificatePlan::Entry>& entries)
{
    X509_NAME* name = X509_get_subject_name(certificate);
    for (const auto& [field, value] : entries) {
        // Given as a type of string and not as text to convert, a value may be longer than the
        // 64 characters that X.520 grants; real developers' names are.
        const int type =
            std::string_view(field) == "C" ? V_ASN1_PRINTABLESTRING : V_ASN1_UTF8STRING;
        require(X509_NAME_add_entry_by_txt(name, field, type,
                    reinterpret_cast<const unsigned char*>(value.data()),
                    static_cast<int>(value.size()), -1, 0),
            field);
    }
}

void setDates(X509* certificate, Time notBefore, std::chrono::days lifetime)
{
    const auto set = [](ASN1_TIME* field, Time time) {
        if (ASN1_TIME_set(field, time.time_since_epoch().count()) == nullptr)
            throw CryptoError("setting a date");
    };
    set(X509_getm_notBefore(certificate), notBefore);
    set(X509_getm_notAfter(certificate), notBefore + lifetime);
}

void addExtension(X509* certificate, X509V3_CTX& context, const CertificatePlan::Extension& row)
{
    const ExtensionOwner extension = required(
        ExtensionOwner(X509V3_EXT_nconf(nullptr, &context, row.name, row.value.c_str())), row.name);
    require(X509_add_ext(certificate, extension.get(), -1), row.name);
}

} // namespace

Certificate issueCertificate(const CertificatePlan& plan, const PrivateKey& key,
    const Certificate* issuer, const PrivateKey& issuerKey)
{
    const CertificateOwner made = required(CertificateOwner(X509_new()), "making a certificate");
    X509* issuing = issuer == nullptr ? made.get() : issuer->get();
    require(X509_set_version(made.get(), version3), "making a certificate");
    setSerial(made.get());
    setSubject(made.get(), plan.subject);
    require(X509_set_issuer_name(made.get(), X509_get_subject_name(issuing)), "naming the issuer");
    setDates(made.get(), plan.notBefore, plan.lifetime);
    require(X509_set_pubkey(made.get(), key.get()), "setting the key");

    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuing, made.get(), nullptr, nullptr, 0);
    for (const auto& row : plan.extensions)
        addExtension(made.get(), context, row);
    addExtension(made.get(), context, {"subjectKeyIdentifier", "hash"});
    if (issuer != nullptr)
        addExtension(made.get(), context, {"authorityKeyIdentifier", "keyid"});
    if (X509_sign(made.get(), issuerKey.get(), EVP_sha256()) == 0)
        throw CryptoError("signing a certificate");
    return Certificate(made.get());
}

} // namespace keychain
