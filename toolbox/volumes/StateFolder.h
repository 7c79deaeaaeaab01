#pragma once

#include <filesystem>
#include <string>
#include <system_error>

namespace volumes {

/// The state folder can't be made or can't be trusted; `what` says where it is.
class StateFolderError : public std::system_error {
public:
    StateFolderError(int code, const std::filesystem::path& folder);
    const char* what() const noexcept override { return m_what.c_str(); }

private:
    std::string m_what;
};

/// The one folder where the tools keep what outlives a run: `Volumes/NAME` holds the files of the
/// attached volume that a Mac has at /Volumes/NAME, `attached` what is known about each image.
/// Owner-only.
class StateFolder {
public:
    /// Tools that only look must work for a user who can't keep anything.
    enum class Making { now, whenNeeded };

    /// Throws as `make` does, for `whenNeeded` never.
    explicit StateFolder(const std::filesystem::path& root, Making making = Making::now);
    /// VANDOR_STATE, else vandor-dmg below XDG_DATA_HOME or the home folder's .local/share.
    static StateFolder ofUser(Making making = Making::now);

    /// Makes what is missing. Throws StateFolderError when that fails, when a folder or a link on
    /// the way to one belongs to somebody else, and when everybody may replace them.
    void make() const;
    /// False when nothing was ever kept here. Throws StateFolderError for what `make` refuses.
    bool exists() const;

    const std::filesystem::path& root() const { return m_root; }
    const std::filesystem::path& volumes() const { return m_volumes; }
    const std::filesystem::path& attached() const { return m_attached; }

    /// Where `path`, as a Mac has it, lies on this host: paths below /Volumes lead in here, all
    /// others stay as they are.
    std::filesystem::path hostPath(const std::filesystem::path& path) const;

private:
    void check() const;

    std::filesystem::path m_root;
    std::filesystem::path m_volumes;
    std::filesystem::path m_attached;
};

} // namespace volumes
