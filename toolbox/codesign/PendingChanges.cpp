#include "codesign/PendingChanges.h"

#include <sys/stat.h>
#include <unistd.h>

namespace codesign {

namespace fs = std::filesystem;

FileReplacement& PendingChanges::replace(const fs::path& path)
{
    m_replacements.push_back(std::make_unique<FileReplacement>(path));
    return *m_replacements.back();
}

void PendingChanges::put(const fs::path& path, std::string_view content)
{
    {
        const bytes::Uninterrupted untilBothCanBeRemoved;
        const fs::path folder = path.parent_path();
        const bool isNew = fs::create_directory(folder);
        if (isNew)
            m_newFolders.emplace_back().path = folder;
        m_files.push_back(std::make_unique<bytes::OutputFile>(path));
        // Registered after the file, which a signal must take away first.
        if (isNew)
            m_newFolders.back().removal.emplace([folder] { ::rmdir(folder.c_str()); });
    }
    bytes::OutputFile& output = *m_files.back();
    output.file().writeAt(0, std::as_bytes(std::span(content)));
    if (::fchmod(output.file().descriptor(), 0644) != 0)
        bytes::throwErrno(path.string());
    output.close();
}

void PendingChanges::remove(const fs::path& path)
{
    m_removals.push_back(path);
}

std::set<fs::path> PendingChanges::temporaryFiles() const
{
    std::set<fs::path> files;
    for (const auto& replacement : m_replacements)
        files.insert(replacement->temporaryPath());
    for (const auto& file : m_files)
        files.insert(file->temporaryPath());
    return files;
}

void PendingChanges::commit()
{
    const bytes::Uninterrupted whole;
    for (const auto& replacement : m_replacements)
        replacement->commit();
    for (const auto& file : m_files)
        file->commit(true);
    for (const fs::path& path : m_removals)
        fs::remove_all(path);
    m_newFolders.clear();
}

PendingChanges::~PendingChanges()
{
    m_files.clear();
    std::error_code ignored;
    for (const NewFolder& folder : m_newFolders)
        fs::remove(folder.path, ignored);
}

} // namespace codesign
