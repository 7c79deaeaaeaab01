#pragma once

#include "bytes/Interruption.h"

#include <filesystem>

namespace notary {

/// A folder for this process alone, which goes with all that is in it.
class TemporaryFolder {
public:
    /// Throws std::system_error.
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    /// A new empty folder inside.
    std::filesystem::path newFolder();

private:
    std::filesystem::path m_path;
    int m_count = 0;
    bytes::OnInterruption m_removal;
};

} // namespace notary
