#include "codesign/CodeVerifier.h"

#include "bytes/FormatError.h"
#include "codesign/CodeError.h"
#include "codesign/StrictChecks.h"
#include "macho/SignatureSpace.h"
#include "plist/PropertyList.h"

#include <algorithm>

namespace codesign {

namespace fs = std::filesystem;
using bytes::FormatError;
using keychain::Trust;

namespace {

plist::Value infoValues(const std::vector<std::byte>& raw)
{
    if (raw.empty())
        return plist::Dictionary();
    try {
        return plist::read(raw);
    } catch (const FormatError&) {
        return plist::Dictionary();
    }
}

bool covers(
    const EmbeddedSignature::Directory& directory, Slot slot, std::span<const std::byte> content)
{
    const Digest* expected = directory.content.special(slot);
    return expected != nullptr && digestOf(directory.content.hashType, content) == *expected;
}

/// Blobs of the signature that a code directory vouches for: there and right, or not there.
void checkOwnBlobs(
    const EmbeddedSignature& signature, const EmbeddedSignature::Directory& directory)
{
    for (const Slot slot : {Slot::requirements, Slot::entitlements, Slot::derEntitlements}) {
        const Blob* blob = signature.parts.find(slot);
        const bool expected = directory.content.special(slot) != nullptr;
        if ((blob != nullptr) != expected || (blob != nullptr && !covers(directory, slot, *blob)))
            throw CodeError(message::modified);
    }
}

void checkPages(const StaticCode& code, const StaticCode::Part& part,
    const EmbeddedSignature::Directory& directory)
{
    const CodeDirectory& content = directory.content;
    // A signature that leaves the end of the code out of the hashes would let it be changed.
    const uint64_t whole = code.image ? code.image->signedLength : macho::signedLength(part.slice);
    if (content.codeLimit != whole || content.codeLimit > part.size)
        throw CodeError(message::modified);
    const bytes::SourceRange source(*code.source, part.offset, part.size);
    if (pageDigests(content.hashType, source, content.codeLimit, content.pageSize())
        != content.codeHashes)
        throw CodeError(message::modified);
}

const char* trustMessage(Trust trust)
{
    switch (trust) {
    case Trust::trusted:
        return nullptr;
    case Trust::notTrusted:
        return "CSSMERR_TP_NOT_TRUSTED";
    case Trust::revoked:
        return "CSSMERR_TP_CERT_REVOKED";
    case Trust::expired:
    case Trust::notYetValid:
        return "CSSMERR_TP_CERT_EXPIRED";
    }
    return nullptr;
}

/// The seal, once it is what every slice and code directory vouches for. A bundle always has one:
/// code that was signed apart from its bundle vouches for nothing else in it.
ResourceSeal intactSeal(const StaticCode& code)
{
    if (!fs::exists(code.bundle->sealFile))
        throw CodeError(message::sealMissing);
    const auto file = bytes::File::open(code.bundle->sealFile, bytes::File::Mode::read);
    const auto raw = file.read(0, static_cast<std::size_t>(file.size()));
    for (const StaticCode::Part& part : code.parts) {
        for (const EmbeddedSignature::Directory& directory : part.signature->directories) {
            if (directory.content.special(Slot::resources) == nullptr)
                throw CodeError(message::sealMissing);
            if (!covers(directory, Slot::resources, raw))
                throw CodeError(message::sealModified);
        }
    }
    try {
        return ResourceSeal::read(raw);
    } catch (const FormatError&) {
        throw CodeError(message::sealModified);
    }
}

std::vector<std::string> detailLines(const BundleLayout& bundle, const SealDifferences& found)
{
    std::vector<std::string> lines;
    const auto add = [&](const char* what, const std::vector<std::string>& paths) {
        for (const std::string& path : paths)
            lines.push_back(std::string(what) + (bundle.sealRoot / path).string());
    };
    add("file added: ", found.added);
    add("file modified: ", found.modified);
    add("file missing: ", found.missing);
    return lines;
}

} // namespace

CodeVerifier::Verdict CodeVerifier::verify(
    const fs::path& path, const Options& options, const Expression* test) const
{
    const StaticCode code = StaticCode::read(path);
    const Verdict verdict = checkParts(code, test, true);
    if (code.bundle)
        checkResources(code, options);
    if (options.strict)
        checkStrictly(code);
    return verdict;
}

CodeVerifier::Verdict CodeVerifier::checkParts(
    const StaticCode& code, const Expression* test, bool pagesToo) const
{
    const std::vector<std::byte> infoBytes = code.infoPlist();
    const plist::Value info = infoValues(infoBytes);
    Verdict verdict;
    for (const StaticCode::Part& part : code.parts) {
        try {
            checkPart(code, part, info, infoBytes, test, verdict, pagesToo);
        } catch (CodeError& error) {
            throw error.in(part.architecture);
        }
    }
    return verdict;
}

void CodeVerifier::checkPart(const StaticCode& code, const StaticCode::Part& part,
    const plist::Value& info, const std::vector<std::byte>& infoBytes, const Expression* test,
    Verdict& verdict, bool pagesToo) const
{
    if (!part.signature)
        throw CodeError(message::notSigned);
    const EmbeddedSignature& signature = *part.signature;
    const auto signer = signerOf(signature, m_roots);
    checkSigner(part, signer);

    for (const EmbeddedSignature::Directory& directory : signature.directories) {
        checkOwnBlobs(signature, directory);
        if (code.image && !covers(directory, Slot::diskImageTrailer, code.image->coveredTrailer()))
            throw CodeError(message::modified);
        const bool infoExpected = directory.content.special(Slot::infoPlist) != nullptr;
        if (infoExpected && !covers(directory, Slot::infoPlist, infoBytes))
            throw CodeError(message::infoModified);
        if (pagesToo)
            checkPages(code, part, directory);
    }

    const CodeSubject subject(signature, signer ? &*signer : nullptr, m_roots, info,
        [&] { return m_isNotarized && m_isNotarized(code); });
    if (const Blob* set = signature.parts.find(Slot::requirements)) {
        try {
            const auto designated = designatedRequirement(*set);
            if (designated && !satisfies(subject, *designated))
                verdict.meetsDesignated = false;
        } catch (const FormatError&) {
            throw CodeError(message::badSignatureFormat);
        }
    }
    if (test != nullptr && !satisfies(subject, *test))
        verdict.meetsTest = false;
}

void CodeVerifier::checkSigner(
    const StaticCode::Part& part, const std::optional<keychain::SignatureFacts>& signer) const
{
    const CodeDirectory& directory = part.signature->best().content;
    if (!signer) {
        // Without anybody's signature, only code that says so is whole.
        if ((directory.flags & flagAdhoc) == 0)
            throw CodeError(message::modified);
        return;
    }
    if (!signer->isIntact || signer->stampState == keychain::StampState::broken)
        throw CodeError(message::modified);
    if (const char* text = trustMessage(signer->trust))
        throw CodeError(text);
    if (!directory.team.empty() && !signer->chain.empty()
        && signer->chain.front().organizationalUnit() != directory.team)
        throw CodeError(message::wrongTeam);
}

void CodeVerifier::checkResources(const StaticCode& code, const Options& options) const
{
    const BundleLayout& bundle = *code.bundle;
    const ResourceSeal seal = intactSeal(code);
    if (options.strict && seal.version < 2)
        throw CodeError(message::oldSeal);
    if (options.strict && !seal.rules.omitsOnlyAs(SealRules::defaults(bundle.resourcesPrefix())))
        throw CodeError(message::customOmissions);
    bool nestedOnly = true;
    const SealDifferences differences = compareWithSeal(
        bundle, seal, [&](const SealCandidate& candidate, const NestedCode& nested) {
            return nestedHolds(candidate, nested, options);
        });
    if (differences.none())
        return;
    for (const std::string& path : differences.modified) {
        if (seal.items.at(path).kind != SealedItem::Kind::nestedCode)
            nestedOnly = false;
    }
    nestedOnly = nestedOnly && differences.added.empty() && differences.missing.empty();
    throw CodeError(nestedOnly ? message::nestedModified : message::resourceModified)
        .with(detailLines(bundle, differences));
}

/// The versions of a framework that are not the current one, for nobody else looks at them.
void CodeVerifier::checkOtherVersions(const fs::path& framework, const Options& options) const
{
    const auto layout = BundleLayout::of(framework);
    if (!layout || !layout->isFramework || layout->root == layout->sealRoot)
        return;
    for (const auto& entry : fs::directory_iterator(layout->root / "Versions")) {
        if (entry.is_symlink() || !entry.is_directory() || entry.path() == layout->sealRoot)
            continue;
        try {
            verify(entry.path(), options);
        } catch (const CodeError&) {
            throw CodeError(message::frameworkVersion);
        } catch (const FormatError&) {
            throw CodeError(message::frameworkVersion);
        }
    }
}

bool CodeVerifier::nestedHolds(
    const SealCandidate& candidate, const NestedCode& sealed, const Options& options) const
{
    if (candidate.kind == SealCandidate::Kind::link)
        return false;
    const auto follow = [&](const char* stage) {
        if (options.follow)
            options.follow(stage + candidate.location.string());
    };
    try {
        follow("--prepared:");
        const Expression required = parseRequirement(sealed.requirement);
        const Verdict verdict = options.deep
            ? verify(candidate.location, options, &required)
            : checkParts(StaticCode::read(candidate.location), &required, false);
        if (options.strict)
            checkOtherVersions(candidate.location, options);
        if (verdict.meetsTest)
            follow("--validated:");
        return verdict.meetsTest;
    } catch (const CodeError& error) {
        if (!error.subcomponent().empty())
            throw;
        throw CodeError(error.what(), candidate.location)
            .in(error.architecture())
            .with(error.details());
    } catch (const FormatError&) {
        return false;
    }
}

} // namespace codesign
