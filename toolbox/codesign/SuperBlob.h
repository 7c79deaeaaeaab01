#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

/// The containers of a code signature, as Apple's published code signing sources (cscdefs.h,
/// sigblob.h) declare them. Everything inside a signature is big-endian.
namespace codesign {

enum class Magic : uint32_t {
    requirement = 0xFADE0C00,
    requirementSet = 0xFADE0C01,
    codeDirectory = 0xFADE0C02,
    embeddedSignature = 0xFADE0CC0,
    wrapper = 0xFADE0B01,
    entitlements = 0xFADE7171,
    derEntitlements = 0xFADE7172,
};

/// Places in an embedded signature; the small ones are also (negated) the special slots of a code
/// directory.
enum class Slot : uint32_t {
    codeDirectory = 0,
    infoPlist = 1,
    requirements = 2,
    resources = 3,
    topDirectory = 4,
    entitlements = 5,
    diskImageTrailer = 6,
    derEntitlements = 7,
    alternateCodeDirectories = 0x1000, // and the four that follow
    signature = 0x10000, // the CMS data in a wrapper
    ticket = 0x10002,
};
inline constexpr uint32_t mostAlternates = 5;

using Blob = std::vector<std::byte>; // magic and length included

/// `content` behind its magic and length.
Blob makeBlob(Magic magic, std::span<const std::byte> content);
/// What stands behind magic and length. Throws bytes::FormatError when the magic is another or
/// the length is not the blob's.
std::span<const std::byte> blobContent(std::span<const std::byte> blob, Magic magic);

/// A set of blobs by number: an embedded signature by slot, a requirement set by kind.
struct SuperBlob {
    /// `raw` may be longer than the blob (reserved room). `strict` also demands that the blobs
    /// follow the index, and each other, without gaps. Throws bytes::FormatError.
    static SuperBlob read(std::span<const std::byte> raw, Magic magic, bool strict = false);
    Blob write() const;

    const Blob* find(Slot slot) const;

    Magic magic = Magic::embeddedSignature;
    std::map<uint32_t, Blob> blobs;

    bool operator==(const SuperBlob&) const = default;
};

} // namespace codesign
