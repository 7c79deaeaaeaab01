#pragma once

#include <filesystem>
#include <span>
#include <string>

namespace fuzz {

/// A folder of its own for readers that want paths, in memory where the host has such a place.
/// Gone at the end of the process, unless that crashed.
class FuzzFolder {
public:
    FuzzFolder();
    ~FuzzFolder();
    FuzzFolder(const FuzzFolder&) = delete;
    FuzzFolder& operator=(const FuzzFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    /// Writes a file, whatever was there; returns its path.
    std::filesystem::path write(const std::string& name, std::span<const std::byte> content) const;
    /// A new empty folder of that name.
    std::filesystem::path emptied(const std::string& name) const;

private:
    std::filesystem::path m_path;
};

} // namespace fuzz
