#pragma once

#include "bytes/ByteDevice.h"
#include "macho/Architecture.h"
#include "macho/MachORecords.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace macho {

/// A run of bytes in a slice.
struct Extent {
    uint64_t offset = 0, size = 0;
};

struct Segment {
    std::string name;
    uint64_t fileOffset = 0, fileSize = 0, memorySize = 0;
    uint64_t commandOffset = 0; // of its load command, from the slice's start
    std::optional<uint64_t> firstSectionOffset; // lowest file offset of its sections with content
};

/// LC_BUILD_VERSION or one of the older minimum version commands.
struct TargetSystem {
    uint32_t platform = 0; // 1 macOS, 2 iOS, 3 tvOS, 4 watchOS, ...
    uint32_t minimum = 0, sdk = 0;
};

/// LC_CODE_SIGNATURE: `room` is what is reserved, the signature inside may be shorter.
struct SignaturePlace {
    uint64_t commandOffset = 0;
    uint64_t offset = 0, room = 0;
};

/// What the head of one thin Mach-O file says, checked. Reading it throws bytes::FormatError for
/// anything that does not fit; what is known here may be relied upon.
struct Slice {
    /// `source` is the slice alone.
    static Slice read(const bytes::ByteSource& source);

    const Segment* segment(std::string_view name) const;
    /// Where the bytes behind the load commands may begin to matter: the first section of the
    /// segment that holds the header. None when there is no such section.
    std::optional<uint64_t> endOfHeaderRoom() const;

    Architecture architecture;
    FileType fileType = FileType::object;
    bool is64 = true;
    uint64_t size = 0; // of the whole slice
    std::vector<std::byte> head; // the header and all load commands, as they lie there
    uint32_t commandCount = 0;
    bool nothingBehindHead = false; // the next 16 bytes are zero: one more command may go there
    std::vector<Segment> segments;
    std::optional<SignaturePlace> signature;
    std::optional<TargetSystem> target;
    std::optional<std::array<uint8_t, 16>> uuid;
    std::optional<Extent> strings; // the symbol table's strings
    std::optional<Extent> infoPlist; // an information dictionary inside the file
};

} // namespace macho
