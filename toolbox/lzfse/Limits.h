#pragma once

#include "bytes/StoredInteger.h"

#include <cstddef>
#include <cstdint>

/// LZFSE: matches of a sliding window, coded by finite state entropy. A stream is a sequence of
/// blocks, each opened by a magic, and the end mark. All numbers are little-endian.
namespace lzfse {

/// Magics as they read in a file.
enum class Magic : uint32_t {
    stored = 0x2D787662, // "bvx-": bytes as they are
    plain = 0x31787662, // "bvx1": entropy coded, frequencies in full; nobody is known to write it
    packed = 0x32787662, // "bvx2": entropy coded, frequencies packed
    lzvn = 0x6E787662, // "bvxn": byte codes without entropy coding, for short inputs
    end = 0x24787662, // "bvx$"
};

inline constexpr std::size_t blockLiteralLimit = 40'000; // always a multiple of four
inline constexpr std::size_t blockMatchLimit = 10'000;

/// What copying may read and write past the end of what is meant.
inline constexpr std::size_t copySlack = 32;

/// Copy `literals` bytes, then `match` bytes from `distance` before the place reached so far.
struct Triple {
    uint32_t literals = 0;
    uint32_t match = 0;
    uint32_t distance = 0;
};

struct StoredBlock {
    bytes::le32 magic, rawBytes;
};
static_assert(sizeof(StoredBlock) == 8 && bytes::isStoredRecord<StoredBlock>);

struct LzvnBlock {
    bytes::le32 magic, rawBytes, payloadBytes;
};
static_assert(sizeof(LzvnBlock) == 12 && bytes::isStoredRecord<LzvnBlock>);

} // namespace lzfse
