#include "codesign/SignatureMaker.h"

#include "keychain/Cms.h"

#include <algorithm>

namespace codesign {

namespace {

/// The parts of a signature that are known before the code is hashed.
std::map<uint32_t, Blob> knownParts(const Signer& signer, const CodeToSign& what)
{
    std::map<uint32_t, Blob> parts;
    parts[static_cast<uint32_t>(Slot::requirements)] =
        requirementSet(signer.designatedRequirement(what.identifier));
    if (what.takesEntitlements && signer.entitlements) {
        parts[static_cast<uint32_t>(Slot::entitlements)] = signer.entitlements->xmlBlob();
        parts[static_cast<uint32_t>(Slot::derEntitlements)] = signer.entitlements->derBlob();
    }
    return parts;
}

/// Everything but the code's own hashes.
CodeDirectory directoryFor(const Signer& signer, const CodeToSign& what, HashType type,
    const std::map<uint32_t, Blob>& parts)
{
    CodeDirectory directory;
    directory.flags = what.flags | (signer.identity == nullptr ? flagAdhoc : 0U);
    directory.identifier = what.identifier;
    directory.team = signer.team();
    directory.hashType = type;
    directory.pageExponent = what.pageExponent;
    directory.codeLimit = what.codeLimit;
    directory.executableBase = what.executableBase;
    directory.executableLimit = what.executableLimit;
    directory.executableFlags = what.executableFlags;
    if (what.takesEntitlements && signer.entitlements)
        directory.executableFlags |= signer.entitlements->executableFlags();
    directory.runtime = what.runtime;
    for (const auto& [slot, blob] : parts)
        directory.specials[slot] = digestOf(type, blob);
    for (const auto& [slot, content] : what.covered)
        directory.specials[static_cast<uint32_t>(slot)] = digestOf(type, content);
    return directory;
}

uint32_t directorySlot(std::size_t index)
{
    return index == 0
        ? static_cast<uint32_t>(Slot::codeDirectory)
        : static_cast<uint32_t>(Slot::alternateCodeDirectories) + static_cast<uint32_t>(index) - 1;
}

} // namespace

MadeSignature makeSignature(
    const Signer& signer, const CodeToSign& what, const bytes::ByteSource& code)
{
    SuperBlob signature;
    signature.blobs = knownParts(signer, what);
    const std::map<uint32_t, Blob> parts = signature.blobs;

    MadeSignature made;
    std::vector<keychain::CodeHash> codeHashes;
    int strongest = 0;
    for (std::size_t i = 0; i < what.hashTypes.size(); ++i) {
        const HashType type = what.hashTypes[i];
        CodeDirectory directory = directoryFor(signer, what, type, parts);
        directory.codeHashes = pageDigests(type, code, what.codeLimit, directory.pageSize());
        Blob blob = directory.write();
        codeHashes.push_back({static_cast<uint8_t>(type), fullCodeHash(blob, type)});
        made.shortHashes.push_back(shortCodeHash(blob, type));
        if (strengthOf(type) > strongest) {
            strongest = strengthOf(type);
            made.bestHash = made.shortHashes.back();
        }
        signature.blobs[directorySlot(i)] = std::move(blob);
    }

    std::vector<std::byte> cms;
    if (signer.identity != nullptr) {
        cms = keychain::signCode(
            *signer.identity, *signature.find(Slot::codeDirectory), codeHashes, signer.stamper);
    }
    signature.blobs[static_cast<uint32_t>(Slot::signature)] = makeBlob(Magic::wrapper, cms);
    made.blob = signature.write();
    return made;
}

uint64_t roomFor(const Signer& signer, const CodeToSign& what, uint64_t cmsEstimate)
{
    constexpr uint64_t alignment = 16;
    constexpr uint64_t indexHead = 12;
    constexpr uint64_t indexEntry = 8;
    constexpr uint64_t largestHeader = 96;

    const std::map<uint32_t, Blob> parts = knownParts(signer, what);
    uint64_t room =
        indexHead + cmsEstimate + indexEntry * (parts.size() + what.hashTypes.size() + 1);
    for (const auto& [slot, blob] : parts)
        room += blob.size();
    for (const HashType type : what.hashTypes) {
        const CodeDirectory directory = directoryFor(signer, what, type, parts);
        const uint64_t page = directory.pageSize();
        const uint64_t slots =
            page == 0 ? 1 : what.codeLimit / page + (what.codeLimit % page != 0 ? 1 : 0);
        room += largestHeader + directory.identifier.size() + 1
            + (directory.team.empty() ? 0 : directory.team.size() + 1)
            + (directory.specialSlots() + slots) * sizeOf(type);
    }
    return (room + alignment - 1) / alignment * alignment;
}

} // namespace codesign
