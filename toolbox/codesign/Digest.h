#pragma once

#include "bytes/ByteDevice.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace codesign {

/// The hash kinds of a code directory, with the numbers that stand in it.
enum class HashType : uint8_t {
    sha1 = 1,
    sha256 = 2,
    sha256Truncated = 3, // to 20 bytes
    sha384 = 4,
    sha512 = 5,
};

using Digest = std::vector<std::byte>;

/// What a hash kind is called in reports ("sha256").
const char* nameOf(HashType type);
/// Bytes of one digest.
std::size_t sizeOf(HashType type);
/// None for a number that no code directory may hold.
bool isHashType(uint8_t number);
/// How strong a kind is among several for the same code; higher is better.
int strengthOf(HashType type);

Digest digestOf(HashType type, std::span<const std::byte> data);
/// Of the first `length` bytes of `source`, read in pieces.
Digest digestOf(HashType type, const bytes::ByteSource& source, uint64_t length);

/// One digest after another for each page of the first `length` bytes; the last page counts with
/// its real length. `pageSize` 0 is one page without limit. Works on all cores.
std::vector<std::byte> pageDigests(
    HashType type, const bytes::ByteSource& source, uint64_t length, uint64_t pageSize);

/// Lower-case hexadecimal.
std::string hexOf(std::span<const std::byte> data);

} // namespace codesign
