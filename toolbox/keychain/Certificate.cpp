#include "keychain/Certificate.h"

#include "bytes/FormatError.h"

#include <algorithm>
#include <array>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace keychain {

using bytes::FormatError;

namespace {

/// Longer than any real chain.
constexpr std::size_t longestChain = 16;

std::string utf8(const ASN1_STRING* value)
{
    unsigned char* raw = nullptr;
    const int length = ASN1_STRING_to_UTF8(&raw, value);
    if (length < 0)
        return {};
    std::string text(reinterpret_cast<char*>(raw), static_cast<std::size_t>(length));
    OPENSSL_free(raw);
    return text;
}

std::optional<std::string> lastEntry(X509_NAME* name, int nid)
{
    std::optional<std::string> found;
    for (int at = X509_NAME_get_index_by_NID(name, nid, -1); at >= 0;
         at = X509_NAME_get_index_by_NID(name, nid, at))
        found = utf8(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, at)));
    return found;
}

Time timeOf(const ASN1_TIME* time)
{
    std::tm parts{};
    if (ASN1_TIME_to_tm(time, &parts) != 1)
        throw FormatError("a certificate with an impossible date");
    return Time(std::chrono::seconds(::timegm(&parts)));
}

} // namespace

Certificate::Certificate(X509* certificate)
    : m_certificate(certificate, X509_free)
{
    X509_up_ref(certificate);
}

Certificate Certificate::fromDer(std::span<const std::byte> der)
{
    const auto* raw = reinterpret_cast<const unsigned char*>(der.data());
    const CertificateOwner certificate(d2i_X509(nullptr, &raw, static_cast<long>(der.size())));
    if (!certificate)
        throw FormatError("not a certificate");
    return Certificate(certificate.get());
}

Certificate Certificate::fromPem(std::string_view text)
{
    std::vector<Certificate> all = allFromPem(text);
    if (all.empty())
        throw FormatError("not a certificate");
    return all.front();
}

std::vector<Certificate> Certificate::allFromPem(std::string_view text)
{
    std::vector<Certificate> all;
    const BioOwner source = readingFrom(std::as_bytes(std::span(text.data(), text.size())));
    for (;;) {
        const CertificateOwner one(PEM_read_bio_X509(source.get(), nullptr, nullptr, nullptr));
        if (!one)
            break;
        all.emplace_back(one.get());
    }
    ERR_clear_error();
    return all;
}

std::vector<std::byte> Certificate::der() const
{
    return derOf(m_certificate.get(), i2d_X509);
}

std::string Certificate::pem() const
{
    const BioOwner sink = writingToMemory();
    require(PEM_write_bio_X509(sink.get(), m_certificate.get()), "writing a certificate");
    const auto raw = writtenTo(sink.get());
    return {reinterpret_cast<const char*>(raw.data()), raw.size()};
}

std::string Certificate::rawFingerprint() const
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    require(X509_digest(m_certificate.get(), EVP_sha1(), digest.data(), &length), "hashing");
    return {reinterpret_cast<const char*>(digest.data()), length};
}

std::string Certificate::fingerprint() const
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    for (const char raw : rawFingerprint()) {
        const auto byte = static_cast<unsigned char>(raw);
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::string Certificate::commonName() const
{
    return field("subject.CN").value_or("");
}

std::string Certificate::organization() const
{
    return field("subject.O").value_or("");
}

std::string Certificate::organizationalUnit() const
{
    return field("subject.OU").value_or("");
}

std::optional<std::string> Certificate::field(const std::string& name) const
{
    const std::size_t dot = name.find('.');
    if (dot == std::string::npos)
        return std::nullopt;
    X509_NAME* whose = nullptr;
    if (name.substr(0, dot) == "subject")
        whose = X509_get_subject_name(m_certificate.get());
    else if (name.substr(0, dot) == "issuer")
        whose = X509_get_issuer_name(m_certificate.get());
    const int nid = OBJ_txt2nid(name.c_str() + dot + 1);
    if (whose == nullptr || nid == NID_undef)
        return std::nullopt;
    return lastEntry(whose, nid);
}

bool Certificate::hasExtension(std::string_view oid) const
{
    for (int i = 0; i < X509_get_ext_count(m_certificate.get()); ++i) {
        const ASN1_OBJECT* object = X509_EXTENSION_get_object(X509_get_ext(m_certificate.get(), i));
        const std::string_view content(
            reinterpret_cast<const char*>(OBJ_get0_data(object)), OBJ_length(object));
        if (content == oid)
            return true;
    }
    return false;
}

bool Certificate::hasExtensionNamed(const char* dotted) const
{
    const ObjectOwner object(OBJ_txt2obj(dotted, 1));
    return object && X509_get_ext_by_OBJ(m_certificate.get(), object.get(), -1) >= 0;
}

Time Certificate::notBefore() const
{
    return timeOf(X509_get0_notBefore(m_certificate.get()));
}

Time Certificate::notAfter() const
{
    return timeOf(X509_get0_notAfter(m_certificate.get()));
}

bool Certificate::allowsCodeSigning() const
{
    const uint32_t usage = X509_get_key_usage(m_certificate.get());
    if (usage != UINT32_MAX && (usage & KU_DIGITAL_SIGNATURE) == 0)
        return false;
    const uint32_t extended = X509_get_extended_key_usage(m_certificate.get());
    return extended != UINT32_MAX && (extended & (XKU_CODE_SIGN | XKU_ANYEKU)) != 0;
}

bool Certificate::isSelfIssued() const
{
    return X509_NAME_cmp(X509_get_subject_name(m_certificate.get()),
               X509_get_issuer_name(m_certificate.get()))
        == 0;
}

bool Certificate::issued(const Certificate& other) const
{
    if (X509_check_issued(m_certificate.get(), other.m_certificate.get()) != X509_V_OK)
        return false;
    const bool signedByThis =
        X509_verify(other.m_certificate.get(), X509_get0_pubkey(m_certificate.get())) == 1;
    ERR_clear_error();
    return signedByThis;
}

bool Certificate::operator==(const Certificate& other) const
{
    return X509_cmp(m_certificate.get(), other.m_certificate.get()) == 0;
}

std::vector<Certificate> chainFrom(
    const Certificate& leaf, const std::vector<Certificate>& certificates)
{
    std::vector<Certificate> chain{leaf};
    while (!chain.back().isSelfIssued() && chain.size() < longestChain) {
        const auto issuer = std::ranges::find_if(certificates,
            [&](const Certificate& candidate) { return candidate.issued(chain.back()); });
        if (issuer == certificates.end())
            break;
        chain.push_back(*issuer);
    }
    return chain;
}

} // namespace keychain
