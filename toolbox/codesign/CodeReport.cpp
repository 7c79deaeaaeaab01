#include "codesign/CodeReport.h"

#include "bytes/FormatError.h"
#include "codesign/CodeError.h"
#include "codesign/MachOSigner.h"
#include "codesign/ResourceSeal.h"
#include "plist/PropertyList.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <sstream>

namespace codesign {

namespace fs = std::filesystem;

namespace {

using Directory = EmbeddedSignature::Directory;

std::string versionText(uint32_t packed)
{
    return std::to_string(packed >> 16) + "." + std::to_string(packed >> 8 & 0xFF) + "."
        + std::to_string(packed & 0xFF);
}

std::string hexNumber(uint64_t number)
{
    std::ostringstream out;
    out << std::hex << number;
    return out.str();
}

/// Writes the lines in the tool's order; each part decides from which level it shows.
class Report {
public:
    Report(const StaticCode& code, const keychain::TrustedRoots& roots, int level)
        : m_code(code)
        , m_part(code.parts.front())
        , m_signature(*m_part.signature)
        , m_best(m_signature.best())
        , m_level(level)
        , m_signer(signerOf(m_signature, roots))
    { }

    std::vector<std::string> lines()
    {
        add(0, "Executable=" + m_code.carrier.string());
        add(1, "Identifier=" + m_best.content.identifier);
        add(1, "Format=" + m_code.format);
        add(1, directoryLine());
        addPlatform();
        addHashes();
        addSegment();
        add(3, "CDHash=" + hexOf(m_best.shortHash()));
        addSigner();
        addInfo();
        add(1, "TeamIdentifier=" + (m_best.content.team.empty() ? "not set" : m_best.content.team));
        if (m_best.content.runtime != 0)
            add(1, "Runtime Version=" + versionText(m_best.content.runtime));
        addSeal();
        addRequirements();
        return std::move(m_lines);
    }

private:
    void add(int fromLevel, std::string line)
    {
        if (m_level >= fromLevel)
            m_lines.push_back(std::move(line));
    }

    std::string directoryLine() const
    {
        const CodeDirectory& content = m_best.content;
        return "CodeDirectory v=" + hexNumber(content.version())
            + " size=" + std::to_string(m_best.blob.size()) + " flags=" + flagsText(content.flags)
            + " hashes=" + std::to_string(content.codeSlots()) + "+"
            + std::to_string(content.specialSlots()) + " location=embedded";
    }

    void addPlatform()
    {
        const auto& target = m_part.slice.target;
        if (m_code.image || !target)
            return;
        add(4, "VersionPlatform=" + std::to_string(target->platform));
        add(4, "VersionMin=" + std::to_string(target->minimum));
        add(4, "VersionSDK=" + std::to_string(target->sdk));
    }

    void addHashes()
    {
        const HashType type = m_best.content.hashType;
        add(3, std::string("Hash type=") + nameOf(type) + " size=" + std::to_string(sizeOf(type)));
        std::string choices;
        for (const Directory* directory : m_signature.byHashType()) {
            const std::string name = nameOf(directory->content.hashType);
            add(3, "CandidateCDHash " + name + "=" + hexOf(directory->shortHash()));
            add(3, "CandidateCDHashFull " + name + "=" + hexOf(directory->fullHash()));
            choices += (choices.empty() ? "" : ",") + name;
        }
        add(3, "Hash choices=" + choices);
        add(3, "CMSDigest=" + hexOf(digestOf(HashType::sha256, m_signature.primary().blob)));
        add(3, "CMSDigestType=2");
    }

    void addSegment()
    {
        const CodeDirectory& content = m_best.content;
        if (content.executableLimit > 0) {
            add(4, "Executable Segment base=" + std::to_string(content.executableBase));
            add(4, "Executable Segment limit=" + std::to_string(content.executableLimit));
            add(4, "Executable Segment flags=0x" + hexNumber(content.executableFlags));
        }
        const uint64_t page = content.pageSize();
        add(4, "Page size=" + (page == 0 ? "none" : std::to_string(page)));
    }

    void addSigner()
    {
        if (!m_signer) {
            add(1, "Signature=adhoc");
            return;
        }
        add(1, "Signature size=" + std::to_string(m_signature.cms().size()));
        for (const keychain::Certificate& certificate : m_signer->chain)
            add(2, "Authority=" + certificate.commonName());
        if (m_signer->chain.empty())
            add(2, "Authority=(unavailable)");
        if (m_signer->timestamp)
            add(1, "Timestamp=" + dateText(*m_signer->timestamp));
        else if (m_signer->signingTime)
            add(1, "Signed Time=" + dateText(*m_signer->signingTime));
        if (hasTicket())
            add(1, "Notarization Ticket=stapled");
    }

    bool hasTicket() const
    {
        if (m_code.image)
            return m_signature.parts.find(Slot::ticket) != nullptr;
        return m_code.bundle && fs::exists(m_code.bundle->sealRoot / "CodeResources");
    }

    void addInfo()
    {
        std::string text = "Info.plist=not bound";
        try {
            if (m_best.content.special(Slot::infoPlist) != nullptr) {
                const plist::Value info = plist::read(m_code.infoPlist());
                if (const auto* entries = info.as<plist::Dictionary>())
                    text = "Info.plist entries=" + std::to_string(entries->size());
            }
        } catch (const bytes::FormatError&) {
            // Damaged since it was signed: then it isn't the one that is bound.
        }
        add(1, text);
    }

    void addSeal()
    {
        std::string text = "Sealed Resources=none";
        if (m_code.bundle && fs::exists(m_code.bundle->sealFile)) {
            try {
                const auto file =
                    bytes::File::open(m_code.bundle->sealFile, bytes::File::Mode::read);
                const ResourceSeal seal =
                    ResourceSeal::read(file.read(0, static_cast<std::size_t>(file.size())));
                text = "Sealed Resources version=" + std::to_string(seal.version)
                    + " rules=" + std::to_string(seal.rules.count())
                    + " files=" + std::to_string(seal.items.size());
            } catch (const bytes::FormatError&) {
                text = "Sealed Resources=invalid";
            }
        }
        add(1, text);
    }

    void addRequirements()
    {
        const Blob* set = m_signature.parts.find(Slot::requirements);
        if (set == nullptr) {
            add(1, "Internal requirements=none");
            return;
        }
        std::size_t count = 0;
        try {
            count = SuperBlob::read(*set, Magic::requirementSet).blobs.size();
        } catch (const bytes::FormatError&) {
            throw CodeError(message::badSignatureFormat);
        }
        add(1,
            "Internal requirements count=" + std::to_string(count)
                + " size=" + std::to_string(set->size()));
    }

    const StaticCode& m_code;
    const StaticCode::Part& m_part;
    const EmbeddedSignature& m_signature;
    const Directory& m_best;
    int m_level;
    std::optional<keychain::SignatureFacts> m_signer;
    std::vector<std::string> m_lines;
};

void requireSigned(const StaticCode& code)
{
    if (!code.isSigned())
        throw CodeError(message::notSigned);
}

} // namespace

std::vector<std::string> reportOn(
    const StaticCode& code, const keychain::TrustedRoots& roots, int level)
{
    requireSigned(code);
    return Report(code, roots, level).lines();
}

std::string dateText(keychain::Time time)
{
    const std::time_t seconds = time.time_since_epoch().count();
    std::tm parts{};
    ::localtime_r(&seconds, &parts);
    static constexpr const char* months[] = {
        "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%s %d, %d at %02d:%02d:%02d",
        months[parts.tm_mon % 12], parts.tm_mday, parts.tm_year + 1900, parts.tm_hour, parts.tm_min,
        parts.tm_sec);
    return text.data();
}

std::vector<std::byte> entitlementsIn(const StaticCode& code)
{
    requireSigned(code);
    const Blob* blob = code.parts.front().signature->parts.find(Slot::entitlements);
    if (blob == nullptr)
        return {};
    const auto content = blobContent(*blob, Magic::entitlements);
    return {content.begin(), content.end()};
}

bool hasExplicitRequirement(const StaticCode& code)
{
    requireSigned(code);
    const Blob* set = code.parts.front().signature->parts.find(Slot::requirements);
    return set != nullptr && designatedRequirement(*set).has_value();
}

std::string designatedText(const StaticCode& code)
{
    requireSigned(code);
    const EmbeddedSignature& signature = *code.parts.front().signature;
    std::optional<Expression> designated;
    if (const Blob* set = signature.parts.find(Slot::requirements))
        designated = designatedRequirement(*set);
    std::vector<Digest> hashes;
    for (const StaticCode::Part& part : code.parts) {
        if (!part.signature)
            continue;
        for (const Directory* directory : part.signature->byHashType())
            hashes.push_back(directory->shortHash());
    }
    return requirementTextOf(designated, hashes);
}

} // namespace codesign
