#pragma once

#include "bytes/StoredInteger.h"

#include <array>
#include <cstdint>

/// Mach-O as it lies in a file: the loader's own records (Apple's published <mach-o/loader.h> and
/// <mach-o/fat.h> are the source of every layout here). Thin files are little-endian on every
/// processor in use, fat headers are big-endian.
namespace macho {

using bytes::be32;
using bytes::be64;
using bytes::le32;
using bytes::le64;

inline constexpr uint32_t magic32 = 0xFEEDFACE;
inline constexpr uint32_t magic64 = 0xFEEDFACF;
inline constexpr uint32_t magic32Swapped = 0xCEFAEDFE; // big-endian files of old processors
inline constexpr uint32_t magic64Swapped = 0xCFFAEDFE;
inline constexpr uint32_t fatMagic32 = 0xCAFEBABE; // also that of Java classes
inline constexpr uint32_t fatMagic64 = 0xCAFEBABF;

enum class FileType : uint32_t {
    object = 1,
    execute = 2,
    preload = 5,
    library = 6,
    linker = 7,
    bundle = 8,
    debugSymbols = 10,
    kernelExtension = 11,
};

enum class Command : uint32_t {
    segment32 = 0x01,
    symbolTable = 0x02,
    segment64 = 0x19,
    uuid = 0x1B,
    codeSignature = 0x1D,
    minimumMacOS = 0x24,
    minimumIPhoneOS = 0x25,
    minimumTVOS = 0x2F,
    minimumWatchOS = 0x30,
    buildVersion = 0x32,
};

/// The head of a 32-bit file; a 64-bit one has four reserved bytes more.
struct MachHeader {
    le32 magic, cpuType, cpuSubtype, fileType;
    le32 commandCount, commandBytes, flags;
};
static_assert(sizeof(MachHeader) == 28 && bytes::isStoredRecord<MachHeader>);
inline constexpr uint32_t machHeaderSize64 = 32;

struct LoadCommand {
    le32 command, size;
};
static_assert(sizeof(LoadCommand) == 8 && bytes::isStoredRecord<LoadCommand>);

struct SegmentCommand64 {
    LoadCommand head;
    std::array<char, 16> name;
    le64 address, memorySize, fileOffset, fileSize;
    le32 maximumProtection, initialProtection, sectionCount, flags;
};
static_assert(sizeof(SegmentCommand64) == 72 && bytes::isStoredRecord<SegmentCommand64>);

struct SegmentCommand32 {
    LoadCommand head;
    std::array<char, 16> name;
    le32 address, memorySize, fileOffset, fileSize;
    le32 maximumProtection, initialProtection, sectionCount, flags;
};
static_assert(sizeof(SegmentCommand32) == 56 && bytes::isStoredRecord<SegmentCommand32>);

struct Section64 {
    std::array<char, 16> name, segment;
    le64 address, size;
    le32 offset, alignment, relocationOffset, relocationCount, flags;
    std::array<le32, 3> reserved;
};
static_assert(sizeof(Section64) == 80 && bytes::isStoredRecord<Section64>);

struct Section32 {
    std::array<char, 16> name, segment;
    le32 address, size;
    le32 offset, alignment, relocationOffset, relocationCount, flags;
    std::array<le32, 2> reserved;
};
static_assert(sizeof(Section32) == 68 && bytes::isStoredRecord<Section32>);

/// LC_CODE_SIGNATURE: where the signature lies, counted from the slice's start.
struct CodeSignatureCommand {
    LoadCommand head;
    le32 dataOffset, dataSize;
};
static_assert(sizeof(CodeSignatureCommand) == 16 && bytes::isStoredRecord<CodeSignatureCommand>);

struct SymbolTableCommand {
    LoadCommand head;
    le32 symbolOffset, symbolCount, stringOffset, stringSize;
};
static_assert(sizeof(SymbolTableCommand) == 24 && bytes::isStoredRecord<SymbolTableCommand>);

/// Versions are packed as major << 16 | minor << 8 | patch.
struct BuildVersionCommand {
    LoadCommand head;
    le32 platform, minimumSystem, sdk, toolCount;
};
static_assert(sizeof(BuildVersionCommand) == 24 && bytes::isStoredRecord<BuildVersionCommand>);

struct MinimumVersionCommand {
    LoadCommand head;
    le32 minimumSystem, sdk;
};
static_assert(sizeof(MinimumVersionCommand) == 16 && bytes::isStoredRecord<MinimumVersionCommand>);

struct UuidCommand {
    LoadCommand head;
    std::array<uint8_t, 16> uuid;
};
static_assert(sizeof(UuidCommand) == 24 && bytes::isStoredRecord<UuidCommand>);

struct FatHeader {
    be32 magic, sliceCount;
};
static_assert(sizeof(FatHeader) == 8 && bytes::isStoredRecord<FatHeader>);

struct FatEntry32 {
    be32 cpuType, cpuSubtype, offset, size;
    be32 alignment; // a power of two's exponent
};
static_assert(sizeof(FatEntry32) == 20 && bytes::isStoredRecord<FatEntry32>);

struct FatEntry64 {
    be32 cpuType, cpuSubtype;
    be64 offset, size;
    be32 alignment, reserved;
};
static_assert(sizeof(FatEntry64) == 32 && bytes::isStoredRecord<FatEntry64>);

} // namespace macho
