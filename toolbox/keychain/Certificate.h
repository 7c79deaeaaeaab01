#pragma once

#include "keychain/OpenSsl.h"

#include <chrono>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace keychain {

/// Seconds, since certificates may hold years that the host's clock can't count in its own unit: no
/// conversion to the clock's time points.
using Time = std::chrono::sys_seconds;

/// An X.509 certificate. A value: copies share what they show.
class Certificate {
public:
    /// Takes its own reference to `certificate`, which must not be null.
    explicit Certificate(X509* certificate);
    /// Throw bytes::FormatError for what is no certificate.
    static Certificate fromDer(std::span<const std::byte> der);
    static Certificate fromPem(std::string_view text);
    /// Every certificate of a PEM text, in its order.
    static std::vector<Certificate> allFromPem(std::string_view text);

    std::vector<std::byte> der() const;
    std::string pem() const;
    /// SHA-1 of the DER form: 40 upper-case hexadecimal digits. People know certificates by it.
    std::string fingerprint() const;
    /// The same in 20 raw bytes.
    std::string rawFingerprint() const;

    std::string commonName() const; // the subject's last, empty without one
    std::string organization() const;
    std::string organizationalUnit() const; // the team, in a developer's certificate
    /// "subject.CN", "subject.OU", "issuer.O", ...; none for a field that is not there.
    std::optional<std::string> field(const std::string& name) const;
    /// By the content bytes of the object identifier.
    bool hasExtension(std::string_view oid) const;
    bool hasExtensionNamed(const char* dotted) const;

    Time notBefore() const;
    Time notAfter() const;
    bool isValidAt(Time time) const { return notBefore() <= time && time <= notAfter(); }
    /// Extended key usage says code signing (or anything).
    bool allowsCodeSigning() const;
    bool isSelfIssued() const;
    /// By name, and by signature too.
    bool issued(const Certificate& other) const;

    X509* get() const { return m_certificate.get(); }
    bool operator==(const Certificate& other) const;

private:
    std::shared_ptr<X509> m_certificate;
};

/// `certificates` in the order leaf, issuer, issuer's issuer, as far as they reach; what does not
/// belong is left out.
std::vector<Certificate> chainFrom(
    const Certificate& leaf, const std::vector<Certificate>& certificates);

} // namespace keychain
