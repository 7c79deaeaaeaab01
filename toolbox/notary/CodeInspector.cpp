#include "notary/CodeInspector.h"

#include "bytes/FormatError.h"
#include "codesign/CodeError.h"
#include "codesign/CodeVerifier.h"
#include "codesign/Signer.h"
#include "plist/PropertyList.h"

#include <algorithm>
#include <array>

namespace notary {

namespace fs = std::filesystem;
using codesign::CodeError;
using codesign::EmbeddedSignature;
using codesign::StaticCode;
using keychain::SignatureFacts;

namespace {

constexpr const char* notSigned = "The binary is not signed.";
constexpr const char* invalidSignature = "The signature of the binary is invalid.";

constexpr uint32_t platformMac = 1;
constexpr uint32_t oldestSdk = 10 << 16 | 9 << 8;

struct Facts {
    const StaticCode::Part& part;
    const EmbeddedSignature& signature;
    const std::optional<SignatureFacts>& signer; // none for ad hoc code
    bool isImage = false;

    bool isProgram() const { return !isImage && part.slice.fileType == macho::FileType::execute; }
};

bool lacksDeveloperId(const Facts& facts)
{
    return !facts.signer || facts.signer->trust != keychain::Trust::trusted
        || !codesign::isDeveloperId(facts.signer->chain);
}

bool lacksTimestamp(const Facts& facts)
{
    return !facts.signer || facts.signer->stampState != keychain::StampState::trusted;
}

bool lacksHardenedRuntime(const Facts& facts)
{
    return facts.isProgram() && (facts.signature.best().content.flags & codesign::flagRuntime) == 0;
}

bool allowsDebuggers(const Facts& facts)
{
    const auto* blob = facts.signature.parts.find(codesign::Slot::entitlements);
    if (!facts.isProgram() || blob == nullptr)
        return false;
    try {
        const auto values =
            plist::read(codesign::blobContent(*blob, codesign::Magic::entitlements));
        const bool* allowed = values.find<bool>("com.apple.security.get-task-allow");
        return allowed != nullptr && *allowed;
    } catch (const bytes::FormatError&) {
        return false;
    }
}

bool isTooOld(const Facts& facts)
{
    const auto& target = facts.part.slice.target;
    return !facts.isImage && target && target->platform == platformMac && target->sdk < oldestSdk;
}

struct Rule {
    bool (*isBroken)(const Facts&);
    const char* message;
};

constexpr std::array rules{
    Rule{lacksDeveloperId, "The binary is not signed with a valid Developer ID certificate."},
    Rule{lacksTimestamp, "The signature does not include a secure timestamp."},
    Rule{lacksHardenedRuntime, "The executable does not have the hardened runtime enabled."},
    Rule{allowsDebuggers,
        "The executable requests the com.apple.security.get-task-allow entitlement."},
    Rule{isTooOld, "The binary uses an SDK older than the 10.9 SDK."},
};

/// What no Mac runs as it is.
bool isBuildProduct(const StaticCode& code)
{
    const macho::FileType type = code.parts.front().slice.fileType;
    return !code.image
        && (type == macho::FileType::object || type == macho::FileType::debugSymbols);
}

std::string detailOf(const CodeError& error, const std::string& root)
{
    std::string text = error.what();
    for (const std::string& line : error.details())
        text += "; " + line;
    // Where it was unpacked means nothing to the reader.
    for (std::size_t at = 0; (at = text.find(root, at)) != std::string::npos;)
        text.erase(at, root.size());
    return text;
}

} // namespace

void CodeInspector::inspectCode(const fs::path& path, const std::string& name)
{
    try {
        const StaticCode code = StaticCode::read(path);
        if (isBuildProduct(code))
            return;
        const std::string file = code.bundle
            ? (fs::path(name) / code.carrier.lexically_relative(fs::canonical(path))).string()
            : name;
        inspectParts({code, name, file});
    } catch (const CodeError& error) {
        mention({.path = name,
            .message = invalidSignature,
            .architecture = error.architecture(),
            .detail = error.what()});
    } catch (const bytes::FormatError& error) {
        mention({.path = name, .message = invalidSignature, .detail = error.what()});
    }
}

void CodeInspector::inspectImage(const fs::path& path, const std::string& name)
{
    try {
        const StaticCode code = StaticCode::read(path);
        if (code.isSigned())
            inspectParts({code, name, name});
    } catch (const CodeError& error) {
        mention({.path = name, .message = invalidSignature, .detail = error.what()});
    }
}

void CodeInspector::inspectParts(const Subject& subject)
{
    bool allSigned = true;
    for (const StaticCode::Part& part : subject.code.parts) {
        if (part.signature) {
            inspectPart(subject, part);
            continue;
        }
        allSigned = false;
        mention({.path = subject.file, .message = notSigned, .architecture = part.architecture});
    }
    if (allSigned)
        verify(subject);
}

void CodeInspector::inspectPart(const Subject& subject, const StaticCode::Part& part)
{
    const auto signer = signerOf(*part.signature, m_roots);
    const Facts facts{part, *part.signature, signer, subject.code.image.has_value()};
    for (const Rule& rule : rules) {
        if (rule.isBroken(facts))
            mention(
                {.path = subject.file, .message = rule.message, .architecture = part.architecture});
    }
    m_findings.code.push_back({subject.name, part.architecture, TicketHash::of(*part.signature)});
}

void CodeInspector::verify(const Subject& subject)
{
    const auto signer = signerOf(*subject.code.parts.front().signature, m_roots);
    // That nobody trusts the signer is said already, and would hide the rest.
    if (signer && signer->isIntact && signer->trust != keychain::Trust::trusted)
        return;
    try {
        const auto verdict = codesign::CodeVerifier(m_roots).verify(subject.code.path, {});
        if (!verdict.meetsDesignated) {
            mention({.path = subject.file,
                .message = invalidSignature,
                .detail = "does not satisfy its designated Requirement"});
        }
    } catch (const CodeError& error) {
        mention({.path = subject.file,
            .message = invalidSignature,
            .architecture = error.architecture(),
            .detail = detailOf(error, fs::canonical(subject.code.path).string() + "/")});
    }
}

bool Inspection::hasErrors() const
{
    return std::ranges::any_of(issues, &InspectionIssue::isError);
}

} // namespace notary
