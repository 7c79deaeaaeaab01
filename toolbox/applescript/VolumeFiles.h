#pragma once

#include "applescript/MountedVolume.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace applescript {

/// A file, folder or link on a mounted volume.
struct VolumeFile {
    std::string path; // from the volume's root, as the host spells it; "" is the root
    std::filesystem::path host;

    std::string name() const { return std::filesystem::path(path).filename().string(); }
};

/// The names of one volume's folder on the host, found as the volume would find them: without
/// regard to case and to the form of accents. No name leads out of the volume: not "..", and no
/// symbolic link, wherever it points.
class VolumeFiles {
public:
    /// `volume` is borrowed.
    explicit VolumeFiles(const MountedVolume& volume)
        : m_volume(volume)
    { }

    /// `path` is relative to the root. A link at its end is itself what is found.
    std::optional<VolumeFile> find(std::string_view path) const;
    /// The regular file at `path`, links followed; none where it lies outside the volume.
    std::optional<VolumeFile> findRegularFile(std::string_view path) const;
    /// What a folder holds, in the volume's order; `.DS_Store` and the like included.
    std::vector<VolumeFile> list(const VolumeFile& folder) const;

    /// As the volume compares names. Both are spelled as the host does.
    static bool sameName(std::string_view a, std::string_view b);

private:
    std::optional<VolumeFile> child(const VolumeFile& folder, std::string_view name) const;
    std::optional<VolumeFile> followed(const VolumeFile& file) const;

    const MountedVolume& m_volume;
};

} // namespace applescript
