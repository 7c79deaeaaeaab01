#pragma once

#include "codesign/Digest.h"
#include "codesign/SuperBlob.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace codesign {

/// Bits of a code directory's flags (Apple's published cscdefs.h).
enum CodeFlag : uint32_t {
    flagHost = 0x1,
    flagAdhoc = 0x2,
    flagHard = 0x100,
    flagKill = 0x200,
    flagExpires = 0x400,
    flagRestrict = 0x800,
    flagEnforcement = 0x1000,
    flagLibraryValidation = 0x2000,
    flagRuntime = 0x10000,
    flagLinkerSigned = 0x20000,
};

/// "0x10000(runtime)"; "0x0(none)"; unknown bits end the list with "???".
std::string flagsText(uint32_t flags);
/// A comma-separated list of flag names (unambiguous beginnings will do), or one number. Throws
/// std::invalid_argument naming what is no flag that a signer may set.
uint32_t flagsFrom(const std::string& list);

/// What a signature is about: the hashes of code and of everything that belongs to it.
struct CodeDirectory {
    /// Reads and checks a whole blob; throws bytes::FormatError.
    static CodeDirectory read(std::span<const std::byte> blob);
    /// In the lowest version that can hold what is set. The version read from elsewhere is not
    /// kept.
    Blob write() const;

    uint32_t version() const; // that `write` would choose, or that was read
    std::size_t codeSlots() const { return codeHashes.size() / sizeOf(hashType); }
    /// The highest special slot in use.
    uint32_t specialSlots() const;
    std::span<const std::byte> codeHash(std::size_t slot) const;
    /// None when the slot is unused (or all zero).
    const Digest* special(Slot slot) const;
    uint64_t pageSize() const { return pageExponent == 0 ? 0 : uint64_t{1} << pageExponent; }

    uint32_t flags = 0;
    std::string identifier;
    std::string team; // empty: none
    HashType hashType = HashType::sha256;
    uint8_t platform = 0;
    uint8_t pageExponent = 12;
    uint64_t codeLimit = 0; // bytes of code that are covered
    uint64_t executableBase = 0, executableLimit = 0, executableFlags = 0;
    uint32_t runtime = 0; // hardened-runtime version, packed; 0: none
    std::map<uint32_t, Digest> specials; // by slot number; unused ones are absent
    std::vector<std::byte> codeHashes; // one digest after another
    uint32_t readVersion = 0; // 0 for one that is made here

    bool operator==(const CodeDirectory&) const = default;
};

/// The hash of a whole code directory blob by its own hash kind, in full.
Digest fullCodeHash(std::span<const std::byte> blob, HashType type);
/// The same cut to the 20 bytes that go by the name of cdhash.
Digest shortCodeHash(std::span<const std::byte> blob, HashType type);

} // namespace codesign
