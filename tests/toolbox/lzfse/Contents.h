#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Contents and streams for the tests of this room.
namespace testing_lzfse {

using Bytes = std::vector<std::byte>;

/// Bytes from hexadecimal digits; "00*n" stands for n zero bytes, blanks for nothing.
Bytes fromHex(std::string_view digits);
Bytes fromText(std::string_view text);
/// Bytes that don't shrink, the same at each run.
Bytes noise(std::size_t length, uint64_t seed);
/// English-looking words in no order.
Bytes words(std::size_t length, uint64_t seed);
/// The machine code and data of this test itself.
Bytes machineCode(std::size_t limit);
Bytes operator+(Bytes left, const Bytes& right);

/// Decodes into a buffer of exactly `length` bytes, all of which must be filled.
Bytes decoded(std::span<const std::byte> stream, std::size_t length);

/// The magics of the blocks of a stream that the encoder made: "2" for "bvx2" and so on.
std::string blockKinds(std::span<const std::byte> stream);

} // namespace testing_lzfse
