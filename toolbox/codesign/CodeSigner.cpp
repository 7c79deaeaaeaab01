#include "codesign/CodeSigner.h"

#include "bytes/FormatError.h"
#include "codesign/CodeError.h"
#include "codesign/CodeIdentifier.h"
#include "codesign/DiskImageCode.h"
#include "codesign/EmbeddedSignature.h"
#include "codesign/HostDetritus.h"
#include "codesign/ResourceSeal.h"
#include "codesign/SignedState.h"
#include "macho/MachOFile.h"
#include "plist/PropertyList.h"

#include <algorithm>

namespace codesign {

namespace fs = std::filesystem;
using bytes::FormatError;
using macho::MachOFile;

namespace {

std::vector<std::byte> contentOf(const fs::path& path)
{
    const auto source = bytes::File::open(path, bytes::File::Mode::read);
    return source.read(0, static_cast<std::size_t>(source.size()));
}

std::vector<std::byte> bytesOf(std::string_view text)
{
    const auto raw = std::as_bytes(std::span(text));
    return {raw.begin(), raw.end()};
}

/// What tells ad hoc code apart that is named after its file only.
std::vector<std::byte> identificationOf(const fs::path& path)
{
    const auto source = bytes::File::open(path, bytes::File::Mode::read);
    if (const auto image = DiskImageCode::read(source))
        return digestOf(HashType::sha1, image->coveredTrailer());
    if (!MachOFile::isMachO(source))
        return digestOf(HashType::sha1, source, source.size());
    const MachOFile file = MachOFile::read(source);
    const macho::Slice& slice = file.parts[file.nativePart()].slice;
    if (!slice.uuid)
        return digestOf(HashType::sha1, slice.head);
    std::vector<std::byte> marked = bytesOf("UUID");
    const auto uuid = std::as_bytes(std::span(*slice.uuid));
    marked.insert(marked.end(), uuid.begin(), uuid.end());
    return marked;
}

/// The information dictionary inside a tool: its bytes, or none.
std::vector<std::byte> embeddedInfo(const fs::path& path)
{
    const auto source = bytes::File::open(path, bytes::File::Mode::read);
    const MachOFile file = MachOFile::read(source);
    const MachOFile::Part& part = file.parts[file.nativePart()];
    if (!part.slice.infoPlist)
        return {};
    return source.read(part.extent.offset + part.slice.infoPlist->offset,
        static_cast<std::size_t>(part.slice.infoPlist->size));
}

plist::Value valuesOf(std::span<const std::byte> info)
{
    if (info.empty())
        return plist::Dictionary();
    try {
        return plist::read(info);
    } catch (const FormatError&) {
        // What stands there is signed as it is, whether it makes sense or not.
        return plist::Dictionary();
    }
}

std::string identifierIn(const plist::Value& info)
{
    for (const char* key : {"CFBundleIdentifier", "CFBundleName"}) {
        if (const auto* text = info.find<std::string>(key); text != nullptr)
            return *text;
    }
    return {};
}

/// What code asks to be signed with, as a number or by the flags' names.
uint32_t flagsIn(const plist::Value& info)
{
    constexpr const char* key = "CSFlags";
    if (const auto* number = info.find<int64_t>(key);
        number != nullptr && *number >= 0 && *number <= UINT32_MAX)
        return static_cast<uint32_t>(*number);
    const auto* text = info.find<std::string>(key);
    if (text == nullptr)
        return 0;
    try {
        return flagsFrom(*text);
    } catch (const std::logic_error&) {
        throw FormatError("CSFlags in Info.plist: no such flags: " + *text);
    }
}

bool isReadable(const Blob& imageSignature)
{
    try {
        EmbeddedSignature::read(imageSignature, true);
        return true;
    } catch (const FormatError&) {
        return false;
    }
}

CodeSigner::Replaced replacedState(SignedState state)
{
    switch (state) {
    case SignedState::isSigned:
    case SignedState::linkerSigned:
        return CodeSigner::Replaced::signature;
    case SignedState::broken:
        return CodeSigner::Replaced::brokenSignature;
    case SignedState::notSigned:
        break;
    }
    return CodeSigner::Replaced::nothing;
}

} // namespace

std::string CodeSigner::identifierFor(
    const std::string& fromInfo, const fs::path& path, bool isNested) const
{
    if (m_options.identifier && !isNested)
        return *m_options.identifier;
    if (!fromInfo.empty())
        return fromInfo;
    std::string name = identifierFromFileName(path.filename().string());
    // A plan is not about who signs: then the name is as anybody would sign it.
    if (m_signer.identity == nullptr && !m_options.dryRun && name.find('.') == std::string::npos
        && !fs::is_directory(path))
        name += "-" + hexOf(identificationOf(path));
    return name;
}

CodeSigner::Result CodeSigner::sign(const fs::path& path) const
{
    if (!fs::exists(path))
        throw std::system_error(ENOENT, std::generic_category(), path.string());
    if (!fs::is_directory(path)
        && DiskImageCode::read(bytes::File::open(path, bytes::File::Mode::read)))
        return signImage(path);

    Result result;
    const fs::path carrier = signatureCarrier(path);
    if (!isCode(carrier))
        throw CodeError(fs::is_directory(path) ? message::unsuitableBundle : message::notSignable);
    const SignedState state = signedStateOf(carrier);
    if (!m_options.force && state != SignedState::notSigned && state != SignedState::linkerSigned)
        throw CodeError(message::alreadySigned);
    result.replaced = replacedState(state);

    // A dry run does everything but the last step, so that what it says is what would happen.
    Run run;
    result.code = signItem(path, false, run);
    if (m_options.dryRun)
        result.plan = std::move(run.done);
    else
        run.pending.commit();
    return result;
}

SignedCode CodeSigner::signItem(const fs::path& path, bool isNested, Run& run) const
{
    const auto layout = BundleLayout::of(path);
    if (!layout && fs::is_directory(path))
        throw CodeError(message::unsuitableBundle);
    const SignedState before = signedStateOf(signatureCarrier(path));
    SignedCode code = layout ? signBundle(*layout, isNested, run) : signTool(path, isNested, run);
    run.done.push_back({path, code, before != SignedState::notSigned});
    return code;
}

SignedCode CodeSigner::signTool(const fs::path& path, bool isNested, Run& run) const
{
    requireNoDetritus(path);
    MachOTarget target;
    const std::vector<std::byte> info = embeddedInfo(path);
    const plist::Value values = valuesOf(info);
    target.identifier = identifierFor(identifierIn(values), path, isNested);
    target.flags = m_signer.flags ? *m_signer.flags : flagsIn(values);
    if (!info.empty())
        target.covered[Slot::infoPlist] = info;
    return signMachO(path, target, m_signer, run.pending);
}

SignedCode CodeSigner::signNested(const fs::path& path, Run& run) const
{
    try {
        const SignedState state = signedStateOf(signatureCarrier(path));
        const bool isSigned = state == SignedState::isSigned || state == SignedState::broken;
        if (m_options.deep && (m_options.force || !isSigned))
            return signItem(path, true, run);
        if (!isSigned && state != SignedState::linkerSigned)
            throw CodeError(message::notSigned);
        return readSignedCode(path);
    } catch (const CodeError& error) {
        if (!error.subcomponent().empty())
            throw;
        throw CodeError(error.what(), path).with(error.details());
    } catch (const FormatError& error) {
        throw CodeError(error.what(), path);
    }
}

SignedCode CodeSigner::signBundle(const BundleLayout& layout, bool isNested, Run& run) const
{
    if (!layout.hasReadableInfo || !isCode(layout.executable))
        throw CodeError(message::unsuitableBundle);
    requireNoDetritus(layout.root);
    const auto source = bytes::File::open(layout.executable, bytes::File::Mode::read);
    const bool oldHashes = needsOldHashes(MachOFile::read(source));

    const std::string seal = makeSeal(layout, oldHashes, run.pending.temporaryFiles(),
        [&](const SealCandidate& candidate) -> NestedCode {
            const SignedCode nested = signNested(candidate.location, run);
            return {nested.hash, nested.requirement};
        });

    MachOTarget target;
    target.identifier = identifierFor(layout.identifier(), layout.root, isNested);
    target.flags = m_signer.flags ? *m_signer.flags : flagsIn(layout.info);
    target.covered[Slot::infoPlist] = contentOf(layout.infoFile);
    target.covered[Slot::resources] = bytesOf(seal);
    SignedCode code = signMachO(layout.executable, target, m_signer, run.pending);
    code.format =
        (layout.packageType() == "APPL" ? "app bundle with " : "bundle with ") + code.format;

    run.pending.put(layout.sealFile, seal);
    const fs::path folder = layout.sealFile.parent_path();
    const std::set<fs::path> ours = run.pending.temporaryFiles();
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path() != layout.sealFile && !ours.contains(entry.path()))
            run.pending.remove(entry.path());
    }
    // A ticket is for the old signature.
    if (const fs::path ticket = layout.sealRoot / "CodeResources"; fs::exists(ticket))
        run.pending.remove(ticket);
    return code;
}

CodeSigner::Result CodeSigner::signImage(const fs::path& path) const
{
    const auto source = bytes::File::open(path, bytes::File::Mode::read);
    const DiskImageCode image = *DiskImageCode::read(source);
    Result result;
    if (!image.signature.empty()) {
        if (!m_options.force)
            throw CodeError(message::alreadySigned);
        result.replaced =
            isReadable(image.signature) ? Replaced::signature : Replaced::brokenSignature;
    }

    CodeToSign what;
    what.identifier = identifierFor({}, path, false);
    what.flags = m_signer.flags.value_or(0);
    what.pageExponent = 0;
    what.codeLimit = image.signedLength;
    what.covered[Slot::diskImageTrailer] = image.coveredTrailer();
    const MadeSignature made = makeSignature(m_signer, what, source);
    if (!m_options.dryRun)
        image.writeSigned(path, made.blob);

    result.code.identifier = what.identifier;
    result.code.format = "disk image";
    result.code.hash = made.bestHash;
    result.code.hashes = made.shortHashes;
    if (m_options.dryRun)
        result.plan.push_back({path, result.code, !image.signature.empty()});
    return result;
}

void removeSignature(const fs::path& path)
{
    if (!fs::is_directory(path)) {
        const auto source = bytes::File::open(path, bytes::File::Mode::read);
        if (const auto image = DiskImageCode::read(source)) {
            image->writeSigned(path, {});
            return;
        }
    }
    const fs::path carrier = signatureCarrier(path);
    if (!isCode(carrier) || signedStateOf(carrier) == SignedState::notSigned)
        throw CodeError(message::notSigned);
    PendingChanges pending;
    removeSignatures(carrier, pending);
    if (const auto layout = BundleLayout::of(path))
        pending.remove(layout->sealFile.parent_path());
    pending.commit();
}

} // namespace codesign
