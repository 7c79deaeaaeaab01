#include "codesign/MachOSigner.h"

#include "bytes/FormatError.h"
#include "bytes/Zeros.h"
#include "macho/MachOFile.h"
#include "macho/SignatureSpace.h"

#include <algorithm>

namespace codesign {

using macho::MachOFile;
using macho::Slice;

namespace {

/// The first version of a platform whose systems do without SHA-1.
struct FirstWithoutSha1 {
    uint32_t platform, version;
};
constexpr FirstWithoutSha1 withoutSha1[] = {
    {1, 0x000A0B04}, // macOS 10.11.4
    {2, 0x000B0000}, // iOS 11
    {3, 0x000B0000}, // tvOS 11
};
constexpr uint8_t pageExponentIntel = 12;
constexpr uint8_t pageExponentArm64 = 14;
constexpr uint64_t executableIsMain = 1;
/// Signatures with long chains or stamps get more room on a second attempt.
constexpr uint64_t cmsEstimates[] = {18000, 128U << 10};

CodeToSign codeOf(const Slice& slice, const MachOTarget& target, bool oldHashes)
{
    CodeToSign what;
    what.identifier = target.identifier;
    what.flags = target.flags;
    what.covered = target.covered;
    if (oldHashes)
        what.hashTypes = {HashType::sha1, HashType::sha256};
    what.pageExponent = slice.architecture.isArm64() ? pageExponentArm64 : pageExponentIntel;
    what.codeLimit = macho::signedLength(slice);
    const bool isMain = slice.fileType == macho::FileType::execute;
    what.takesEntitlements = isMain;
    if (slice.target) {
        if (const macho::Segment* text = slice.segment("__TEXT")) {
            what.executableBase = text->fileOffset;
            what.executableLimit = text->fileSize;
        }
        what.executableFlags = isMain ? executableIsMain : 0;
        if ((target.flags & flagRuntime) != 0)
            what.runtime = slice.target->sdk;
    }
    return what;
}

struct Layout {
    std::vector<macho::SlicePlan> plans;
    std::vector<uint64_t> offsets;
    std::vector<std::byte> fatHeader;
    uint64_t fileSize = 0;
};

Layout layoutOf(const MachOFile& file, std::vector<macho::SlicePlan> plans)
{
    Layout layout;
    layout.plans = std::move(plans);
    if (!file.isFat) {
        layout.offsets = {0};
        layout.fileSize = layout.plans[0].size;
        return layout;
    }
    std::vector<macho::Architecture> architectures;
    std::vector<uint64_t> sizes;
    for (std::size_t i = 0; i < file.parts.size(); ++i) {
        architectures.push_back(file.parts[i].slice.architecture);
        sizes.push_back(layout.plans[i].size);
    }
    macho::FatLayout fat = macho::fatLayout(architectures, sizes);
    layout.offsets = std::move(fat.offsets);
    layout.fatHeader = std::move(fat.header);
    layout.fileSize = fat.fileSize;
    return layout;
}

/// A new fat file ends with its last slice; what a program has hung on behind would be lost.
void requireOnlyPaddingBehindSlices(const MachOFile& file, const bytes::ByteSource& source)
{
    uint64_t end = 0;
    for (const MachOFile::Part& part : file.parts)
        end = std::max(end, part.extent.offset + part.extent.size);
    constexpr uint64_t mostPadding = 1U << 14;
    const uint64_t behind = source.size() - end;
    if (behind > mostPadding || !bytes::isZero(source.read(end, static_cast<std::size_t>(behind))))
        throw bytes::FormatError("main executable failed strict validation");
}

void writeSlices(const MachOFile& file, const Layout& layout, FileReplacement& out)
{
    requireOnlyPaddingBehindSlices(file, out.original());
    out.file().resize(0);
    out.file().resize(layout.fileSize);
    out.file().writeAt(0, layout.fatHeader);
    for (std::size_t i = 0; i < file.parts.size(); ++i) {
        const macho::Extent& extent = file.parts[i].extent;
        const bytes::SourceRange slice(out.original(), extent.offset, extent.size);
        macho::writePlanned(slice, layout.plans[i], out.file(), layout.offsets[i]);
    }
}

/// The slice that a current Mac runs first, then the others in file order.
std::vector<std::size_t> nativeFirst(const MachOFile& file)
{
    std::vector<std::size_t> order{file.nativePart()};
    for (std::size_t i = 0; i < file.parts.size(); ++i) {
        if (i != order[0])
            order.push_back(i);
    }
    return order;
}

/// False when a finished signature is larger than its room.
bool signSlices(const MachOFile& file, const Layout& layout, const std::vector<CodeToSign>& codes,
    const Signer& signer, FileReplacement& out, SignedCode& result)
{
    for (const std::size_t i : nativeFirst(file)) {
        const macho::SlicePlan& plan = layout.plans[i];
        const bytes::SourceRange slice(out.file(), layout.offsets[i], plan.size);
        const MadeSignature made = makeSignature(signer, codes[i], slice);
        if (made.blob.size() > plan.size - plan.signatureOffset)
            return false;
        out.file().writeAt(layout.offsets[i] + plan.signatureOffset, made.blob);
        if (result.hash.empty())
            result.hash = made.bestHash;
        result.hashes.insert(result.hashes.end(), made.shortHashes.begin(), made.shortHashes.end());
    }
    return true;
}

} // namespace

bool needsOldHashes(const MachOFile& file)
{
    return std::ranges::any_of(file.parts, [](const MachOFile::Part& part) {
        const auto& target = part.slice.target;
        return target && std::ranges::any_of(withoutSha1, [&](const FirstWithoutSha1& row) {
            return target->platform == row.platform && target->minimum < row.version;
        });
    });
}

std::string requirementTextOf(
    const std::optional<Expression>& designated, const std::vector<Digest>& hashes)
{
    if (designated)
        return requirementText(*designated);
    std::vector<std::string> raw;
    raw.reserve(hashes.size());
    for (const Digest& hash : hashes)
        raw.emplace_back(reinterpret_cast<const char*>(hash.data()), hash.size());
    return requirementText(codeHashRequirement(raw));
}

SignedCode signMachO(const std::filesystem::path& path, const MachOTarget& target,
    const Signer& signer, PendingChanges& pending)
{
    FileReplacement& out = pending.replace(path);
    const MachOFile file = MachOFile::read(out.original());
    const bool oldHashes = needsOldHashes(file);

    std::vector<CodeToSign> codes;
    for (const MachOFile::Part& part : file.parts)
        codes.push_back(codeOf(part.slice, target, oldHashes));

    for (const uint64_t estimate : cmsEstimates) {
        std::vector<macho::SlicePlan> plans;
        for (std::size_t i = 0; i < codes.size(); ++i) {
            plans.push_back(
                macho::planSignature(file.parts[i].slice, roomFor(signer, codes[i], estimate)));
        }
        const Layout layout = layoutOf(file, std::move(plans));
        writeSlices(file, layout, out);

        SignedCode result;
        if (!signSlices(file, layout, codes, signer, out, result))
            continue;
        out.finish();
        result.identifier = target.identifier;
        result.format = file.formatText();
        result.requirement =
            requirementTextOf(signer.designatedRequirement(target.identifier), result.hashes);
        return result;
    }
    throw bytes::FormatError(
        "signature too large to embed (size limitation of on-disk representation)");
}

void removeSignatures(const std::filesystem::path& path, PendingChanges& pending)
{
    FileReplacement& out = pending.replace(path);
    const MachOFile file = MachOFile::read(out.original());
    std::vector<macho::SlicePlan> plans;
    for (const MachOFile::Part& part : file.parts)
        plans.push_back(macho::planRemoval(part.slice));
    writeSlices(file, layoutOf(file, std::move(plans)), out);
    out.finish();
}

} // namespace codesign
