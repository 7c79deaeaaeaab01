#pragma once

#include <optional>
#include <string_view>

namespace volumes {

struct AttachedImage;

/// A disk or a slice as a user names it: "disk4", "/dev/disk4", "disk4s1".
struct DeviceName {
    unsigned disk = 0;
    std::optional<unsigned> slice;

    /// None for anything else, which may be a mount point.
    static std::optional<DeviceName> read(std::string_view text);
    /// Whether the image is that disk and has that slice.
    bool names(const AttachedImage& image) const;
};

} // namespace volumes
