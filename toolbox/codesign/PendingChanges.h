#pragma once

#include "bytes/Interruption.h"
#include "codesign/FileReplacement.h"

#include <filesystem>
#include <list>
#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

namespace codesign {

/// Everything that a signing run will change, written beside its places and put there together:
/// until `commit` nothing has changed, and dropping this leaves everything as it was.
class PendingChanges {
public:
    /// A new version of an existing file; write it, then `finish` it.
    FileReplacement& replace(const std::filesystem::path& path);
    /// A whole small file, whether there was one before or not; its folder is made when missing.
    void put(const std::filesystem::path& path, std::string_view content);
    void remove(const std::filesystem::path& path);

    /// Our own files beside the real ones: for whoever lists folders meanwhile.
    std::set<std::filesystem::path> temporaryFiles() const;
    /// A signal waits until all is done.
    void commit();

    PendingChanges() = default;
    ~PendingChanges();
    PendingChanges(const PendingChanges&) = delete;
    PendingChanges& operator=(const PendingChanges&) = delete;

private:
    /// A folder that goes again, however the run ends, if nothing comes to stay in it.
    struct NewFolder {
        std::filesystem::path path;
        std::optional<bytes::OnInterruption> removal;
    };

    std::vector<std::unique_ptr<FileReplacement>> m_replacements;
    std::vector<std::unique_ptr<bytes::OutputFile>> m_files;
    std::vector<std::filesystem::path> m_removals;
    std::list<NewFolder> m_newFolders;
};

} // namespace codesign
