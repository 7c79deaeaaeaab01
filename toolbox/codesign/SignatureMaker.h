#pragma once

#include "bytes/ByteDevice.h"
#include "codesign/CodeDirectory.h"
#include "codesign/Signer.h"
#include "codesign/SuperBlob.h"

#include <map>
#include <vector>

namespace codesign {

/// The code that one signature covers, and what belongs to it.
struct CodeToSign {
    std::string identifier;
    uint32_t flags = 0; // but for the one of ad hoc code
    std::vector<HashType> hashTypes{HashType::sha256}; // ascending; the first is the primary one
    uint8_t pageExponent = 12; // 0: one hash over everything
    uint64_t codeLimit = 0; // bytes of code
    uint64_t executableBase = 0, executableLimit = 0, executableFlags = 0;
    uint32_t runtime = 0;
    bool takesEntitlements = false;
    /// What special slots hash that is not in the signature itself: Info.plist, the resource seal,
    /// an image's trailer.
    std::map<Slot, std::vector<std::byte>> covered;
};

/// A finished signature and the hashes that others know it by.
struct MadeSignature {
    Blob blob;
    std::vector<Digest> shortHashes; // cdhashes, one a code directory by ascending hash type
    Digest bestHash; // the strongest of them
};

/// Hashes `code` (which holds at least `codeLimit` bytes, as they will be in the file) and signs.
/// Throws keychain::CryptoError and keychain::TimeStampUnavailable.
MadeSignature makeSignature(
    const Signer& signer, const CodeToSign& what, const bytes::ByteSource& code);

/// Bytes to reserve for the signature in a Mach-O file, a multiple of 16: known before anything is
/// hashed, since the reserved size itself is hashed. `cmsEstimate` is what the CMS data may take.
uint64_t roomFor(const Signer& signer, const CodeToSign& what, uint64_t cmsEstimate = 18000);

} // namespace codesign
