#pragma once

#include "bytes/File.h"

#include <filesystem>

namespace codesign {

/// A new version of an existing file: written beside it, given the old one's mode, times and
/// extended attributes, and renamed over it. The old file stays whole until then. Links to the
/// same inode keep the old content.
class FileReplacement {
public:
    /// Throws std::system_error when `path` can't be read or its folder can't be written.
    explicit FileReplacement(const std::filesystem::path& path);

    const bytes::File& original() const { return m_original; }
    bytes::File& file() { return m_output.file(); }
    /// Copies the first `length` bytes; inside the kernel, and without copying where the file
    /// system can share them.
    void copyHead(uint64_t length);
    /// Ends writing: the new file gets the old one's attributes, and both are closed.
    void finish();
    /// Puts the new file in place; `finish` comes before.
    void commit();
    const std::filesystem::path& temporaryPath() const { return m_output.temporaryPath(); }

private:
    std::filesystem::path m_path;
    bytes::File m_original;
    bytes::OutputFile m_output;
};

} // namespace codesign
