#pragma once

#include "bytes/File.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace keychain {

/// A folder that nobody but its owner may enter, of small text files that nobody else may read.
class PrivateFolder {
public:
    /// Makes it (not those above it), or closes it to others. Throws std::system_error when that
    /// fails or it belongs to somebody else.
    explicit PrivateFolder(std::filesystem::path path);
    /// The folder with what `fill` writes, which appears all at once unless there was something
    /// before: whoever comes second in a race uses the winner's.
    static PrivateFolder establish(
        const std::filesystem::path& path, const std::function<void(const PrivateFolder&)>& fill);

    const std::filesystem::path& path() const { return m_path; }
    /// Waits until nobody else has the folder to themselves, process or thread. For what is looked
    /// at and then changed; ends with the result. Not to be nested.
    [[nodiscard]] bytes::File lock() const;
    bool has(const std::string& name) const;
    /// Throws std::system_error for what can't be read, bytes::FormatError beyond a mebibyte.
    std::string read(const std::string& name) const;
    /// Whole or not at all; replaces what is there.
    void write(const std::string& name, const std::string& text) const;
    /// False when there is none.
    bool remove(const std::string& name) const;
    /// Of the files, sorted.
    std::vector<std::string> names() const;

private:
    std::filesystem::path m_path;
};

} // namespace keychain
