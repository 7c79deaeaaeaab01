#pragma once

#include <array>
#include <cstdint>
#include <string_view>

/// The vocabulary of image formats and of the ways a chunk of a disk is stored.
namespace udif {

/// Values as they lie in a block table.
enum class ChunkType : uint32_t {
    zeros = 0, // zero bytes that count in the checksum
    raw = 1,
    ignored = 2, // free space: reads as zeros, not in the checksum
    comment = 0x7FFFFFFE,
    adc = 0x80000004,
    zlib = 0x80000005,
    bzip2 = 0x80000006,
    lzfse = 0x80000007,
    lzma = 0x80000008,
    terminator = 0xFFFFFFFF,
};

enum class ImageFormat { UDRW, UDRO, UDCO, UDZO, UDBZ, ULFO, ULMO };

struct FormatFacts {
    ImageFormat format;
    std::string_view code; // as `-format` takes it
    ChunkType chunkType; // how the format stores what shrinks
    std::string_view description; // of `hdiutil imageinfo`
    std::string_view imageType; // of `hdiutil info`
    bool readable; // by this version
    bool writable;
};

inline constexpr std::array formats{
    FormatFacts{
        ImageFormat::UDRW, "UDRW", ChunkType::raw, "raw read/write", "read/write", true, true},
    FormatFacts{
        ImageFormat::UDRO, "UDRO", ChunkType::raw, "UDIF read-only", "UDIF read-only", true, true},
    FormatFacts{ImageFormat::UDCO, "UDCO", ChunkType::adc, "UDIF read-only compressed (ADC)",
        "UDIF read-only compressed (ADC)", false, false},
    FormatFacts{ImageFormat::UDZO, "UDZO", ChunkType::zlib, "UDIF read-only compressed (zlib)",
        "UDIF read-only compressed (zlib)", true, true},
    FormatFacts{ImageFormat::UDBZ, "UDBZ", ChunkType::bzip2, "UDIF read-only compressed (bzip2)",
        "UDIF read-only compressed (bzip2)", true, true},
    FormatFacts{ImageFormat::ULFO, "ULFO", ChunkType::lzfse, "UDIF read-only compressed (lzfse)",
        "UDIF read-only compressed (lzfse)", true, true},
    FormatFacts{ImageFormat::ULMO, "ULMO", ChunkType::lzma, "UDIF read-only compressed (lzma)",
        "UDIF read-only compressed (lzma)", true, true},
};

const FormatFacts& factsOf(ImageFormat format);
/// The format that `-format CODE` names, in capitals or not; throws ImageError::unknownFormat.
const FormatFacts& formatNamed(std::string_view code);
/// Throws ImageError::formatNotWritable for a format that this version can't write.
void requireWritable(ImageFormat format);

} // namespace udif
