#pragma once

#include "bytes/File.h"
#include "codesign/BundleLayout.h"
#include "codesign/DiskImageCode.h"
#include "codesign/EmbeddedSignature.h"
#include "macho/MachOFile.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace codesign {

/// Code on disk with whatever signatures it carries: read, not judged.
struct StaticCode {
    /// One slice of a Mach-O file, or a whole image.
    struct Part {
        std::string architecture; // empty for an image
        uint64_t offset = 0; // in the carrying file
        uint64_t size = 0; // of the slice; what is hashed counts from `offset`
        macho::Slice slice; // of a Mach-O file
        std::optional<EmbeddedSignature> signature;
    };

    /// Throws CodeError for what can't carry a signature and for signatures that make no sense.
    static StaticCode read(const std::filesystem::path& path);

    /// What slot 1 covers: the bundle's information dictionary or the one inside a tool.
    std::vector<std::byte> infoPlist() const;
    bool isSigned() const { return parts.front().signature.has_value(); }

    std::filesystem::path path; // as given
    std::filesystem::path carrier; // the file that carries the signature, absolute
    std::optional<BundleLayout> bundle;
    std::optional<DiskImageCode> image;
    std::unique_ptr<bytes::File> source; // the carrier, open
    std::string format; // "app bundle with Mach-O thin (arm64)", ...
    std::vector<Part> parts; // the slice that a current Mac runs first
};

} // namespace codesign
