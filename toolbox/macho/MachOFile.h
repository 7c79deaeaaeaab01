#pragma once

#include "bytes/ByteDevice.h"
#include "macho/Slice.h"

#include <vector>

namespace macho {

/// A Mach-O file, thin or fat: its slices in file order.
struct MachOFile {
    struct Part {
        Extent extent; // of the slice in the file
        Slice slice;
    };

    /// True when the first bytes are those of a Mach-O file, thin or fat; reads no further.
    static bool isMachO(const bytes::ByteSource& source);
    /// Throws bytes::FormatError for anything that is not a sound Mach-O file.
    static MachOFile read(const bytes::ByteSource& source);

    /// Where the slice for arm64 stands, else the first: what a current Mac would run.
    std::size_t nativePart() const;
    /// "Mach-O thin (arm64)", "Mach-O universal (x86_64 arm64)".
    std::string formatText() const;

    bool isFat = false;
    std::vector<Part> parts;
};

/// Where slices go in a fat file that is written anew.
struct FatLayout {
    std::vector<std::byte> header;
    std::vector<uint64_t> offsets; // one a slice
    uint64_t fileSize = 0;
};

/// Slices keep their order; each starts on a page of 16 KiB, the largest of any Mac, and nothing
/// follows the last. The wide form is used only where the narrow one can't hold a number.
FatLayout fatLayout(
    const std::vector<Architecture>& architectures, const std::vector<uint64_t>& sizes);

} // namespace macho
