#pragma once

#include <filesystem>
#include <string_view>

namespace volumes {

/// The one folder where the tools keep what outlives a run: `Volumes/NAME` holds the files of the
/// attached volume that a Mac has at /Volumes/NAME, `attached` what is known about each image.
/// Made on first use, owner-only.
class StateFolder {
public:
    /// Throws std::system_error when the folders can't be made or belong to somebody else.
    explicit StateFolder(const std::filesystem::path& root);
    /// VANDOR_STATE, else vandor-dmg below XDG_DATA_HOME or the home folder's .local/share.
    static StateFolder ofUser();

    const std::filesystem::path& root() const { return m_root; }
    const std::filesystem::path& volumes() const { return m_volumes; }
    const std::filesystem::path& attached() const { return m_attached; }

    /// Where `path`, as a Mac has it, lies on this host: paths below /Volumes lead in here, all
    /// others stay as they are.
    std::filesystem::path hostPath(const std::filesystem::path& path) const;

private:
    std::filesystem::path m_root;
    std::filesystem::path m_volumes;
    std::filesystem::path m_attached;
};

} // namespace volumes
