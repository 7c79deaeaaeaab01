#include "notary/Assessment.h"

#include "bytes/FormatError.h"
#include "codesign/CodeError.h"
#include "codesign/CodeVerifier.h"
#include "codesign/Signer.h"
#include "notary/ServiceError.h"
#include "notary/Stapler.h"

#include <openssl/x509v3.h>

namespace notary {

namespace fs = std::filesystem;
namespace message = codesign::message;
using codesign::CodeError;
using codesign::StaticCode;
using keychain::Certificate;
using keychain::SignatureFacts;
using keychain::Trust;
using keychain::TrustedRoots;

namespace {

constexpr const char* storeMark = "1.2.840.113635.100.6.1.9";
/// A text: when the team got its first certificate.
constexpr const char* firstCertificateMark = "1.2.840.113635.100.6.1.33";
/// Teams that are older may go without notarization.
constexpr std::string_view notarizationDemanded = "20190408000000Z";

constexpr const char* hostNote =
    "note=judged on this host by signature, chain and ticket; a Mac may know more";
constexpr const char* rehearsalNote =
    "note=signed with a local rehearsal certificate, which no Mac trusts";

/// The text in an extension of a certificate; empty when there is none.
std::string extensionText(const Certificate& certificate, const char* dotted)
{
    const keychain::ObjectOwner object(OBJ_txt2obj(dotted, 1));
    const int place = X509_get_ext_by_OBJ(certificate.get(), object.get(), -1);
    if (place < 0)
        return {};
    const ASN1_OCTET_STRING* value =
        X509_EXTENSION_get_data(X509_get_ext(certificate.get(), place));
    const auto* raw = ASN1_STRING_get0_data(value);
    const std::unique_ptr<ASN1_UTF8STRING, keychain::Free<ASN1_UTF8STRING_free>> text(
        d2i_ASN1_UTF8STRING(nullptr, &raw, ASN1_STRING_length(value)));
    keychain::forgetErrors();
    if (!text)
        return {};
    return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(text.get())),
        static_cast<std::size_t>(ASN1_STRING_length(text.get()))};
}

/// False when the code holds, but not strictly. Throws CodeError when it doesn't hold.
bool holdsStrictly(const fs::path& path, const TrustedRoots& roots)
{
    const codesign::CodeVerifier verifier(roots);
    try {
        verifier.verify(path, {.deep = true, .strict = true});
        return true;
    } catch (const CodeError&) {
        verifier.verify(path, {.deep = true});
        return false;
    }
}

class Assessor {
public:
    Assessor(const StaticCode& code, const TrustedRoots& roots, const TicketOffice& office)
        : m_code(code)
        , m_roots(roots)
        , m_office(office)
        , m_signer(signerOf(*code.parts.front().signature, roots))
    { }

    Assessment assess(Purpose purpose)
    {
        if (m_signer && !m_signer->chain.empty())
            m_verdict.origin = m_signer->chain.front().commonName();
        if (kind() == TrustedRoots::Kind::rehearsal)
            note(rehearsalNote);
        judge(purpose);
        note(hostNote);
        return std::move(m_verdict);
    }

private:
    void judge(Purpose purpose)
    {
        // Without trust in the signer there's nothing that the rest could prove.
        if (m_signer && m_signer->isIntact && m_signer->trust == Trust::notTrusted) {
            note("note=this host doesn't trust the certificate");
            return;
        }
        if (!holdsStrictly(m_code.path, m_roots)) {
            m_verdict.source = "obsolete resource envelope";
            return;
        }
        if (!m_signer) {
            note("note=ad hoc signature: nobody answers for this code");
            return;
        }
        if (codesign::isDeveloperId(m_signer->chain))
            judgeDeveloperId();
        else if (kind() == TrustedRoots::Kind::apple)
            judgeOtherAppleChain();
        if (m_verdict.accepted && purpose == Purpose::execute && !isApplication()) {
            m_verdict.accepted = false;
            m_verdict.source.clear();
            m_verdict.remark = "the code is valid but does not seem to be an app";
        }
    }

    void judgeDeveloperId()
    {
        if (isNotarized()) {
            accept("Notarized Developer ID");
            return;
        }
        const std::string since = extensionText(m_signer->chain.front(), firstCertificateMark);
        if (!since.empty() && since < notarizationDemanded)
            accept("Developer ID");
        else
            m_verdict.source = "Unnotarized Developer ID";
    }

    void judgeOtherAppleChain()
    {
        if (m_signer->chain.front().hasExtensionNamed(storeMark))
            accept("Mac App Store");
        else if (!codesign::isDeveloperChain(m_signer->chain))
            accept("Apple System");
    }

    bool isNotarized()
    {
        const auto hashes = TicketHash::allOf(m_code);
        if (const auto stapled = readStapled()) {
            if (isWorth(*stapled, hashes))
                return true;
        }
        try {
            const auto found = m_office.find(m_code, m_roots);
            return found && isWorth(*found, hashes);
        } catch (const NetworkError& error) {
            note(std::string("note=no ticket lookup: ") + error.what());
        } catch (const ServiceError& error) {
            note(std::string("note=no ticket lookup: ") + error.what());
        }
        return false;
    }

    std::optional<std::vector<std::byte>> readStapled()
    {
        try {
            return stapledTicket(m_code);
        } catch (const bytes::FormatError& error) {
            note(std::string("note=") + error.what());
            return std::nullopt;
        }
    }

    bool isWorth(std::span<const std::byte> ticket, const std::vector<TicketHash>& hashes)
    {
        const TicketOpinion opinion = m_office.opinionOf(ticket, hashes);
        if (opinion.issuer == TicketIssuer::nobody)
            note("note=" + opinion.reason);
        if (opinion.issuer == TicketIssuer::local)
            note(localNote);
        return opinion.issuer != TicketIssuer::nobody;
    }

    bool isApplication() const { return m_code.bundle && m_code.bundle->packageType() == "APPL"; }

    TrustedRoots::Kind kind() const
    {
        return m_signer && !m_signer->chain.empty() ? m_roots.kindOf(m_signer->chain.back())
                                                    : TrustedRoots::Kind::none;
    }

    void accept(const char* source)
    {
        m_verdict.accepted = true;
        m_verdict.source = source;
    }

    void note(std::string text) { m_verdict.notes.push_back(std::move(text)); }

    const StaticCode& m_code;
    const TrustedRoots& m_roots;
    const TicketOffice& m_office;
    std::optional<SignatureFacts> m_signer;
    Assessment m_verdict;
};

Assessment rejectedFor(const char* source)
{
    return {.source = source, .notes = {hostNote}};
}

} // namespace

Assessment assess(
    const fs::path& path, Purpose purpose, const TrustedRoots& roots, const TicketOffice& office)
{
    if (purpose == Purpose::openWithoutContext)
        return rejectedFor("Insufficient Context");
    std::optional<StaticCode> code;
    try {
        code = StaticCode::read(path);
    } catch (const CodeError& error) {
        if (error.what() != std::string_view(message::notSigned))
            throw;
    }
    if (!code || TicketHash::allOf(*code).empty())
        return rejectedFor("no usable signature");
    return Assessor(*code, roots, office).assess(purpose);
}

} // namespace notary
