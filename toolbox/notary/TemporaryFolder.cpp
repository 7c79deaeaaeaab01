#include "notary/TemporaryFolder.h"

#include "bytes/File.h"

#include <cstdlib>

namespace notary {

namespace fs = std::filesystem;

namespace {

fs::path make()
{
    std::string path = fs::temp_directory_path() / "vandor-notary.XXXXXX";
    if (::mkdtemp(path.data()) == nullptr)
        bytes::throwErrno(path);
    return path;
}

void removeAll(const fs::path& path)
{
    std::error_code ignored;
    fs::remove_all(path, ignored);
    if (!ignored)
        return;
    // What was unpacked may have folders that even their owner may not change.
    const auto open = [&](const fs::path& folder) {
        fs::permissions(folder, fs::perms::owner_all, fs::perm_options::add, ignored);
    };
    open(path);
    for (auto at = fs::recursive_directory_iterator(path, ignored);
         at != fs::recursive_directory_iterator(); at.increment(ignored)) {
        if (at->is_directory(ignored) && !at->is_symlink(ignored))
            open(at->path());
    }
    fs::remove_all(path, ignored);
}

} // namespace

TemporaryFolder::TemporaryFolder()
    : m_path(make())
    , m_removal([path = m_path] { removeAll(path); })
{ }

TemporaryFolder::~TemporaryFolder()
{
    removeAll(m_path);
}

fs::path TemporaryFolder::newFolder()
{
    fs::path folder = m_path / std::to_string(++m_count);
    fs::create_directory(folder);
    return folder;
}

} // namespace notary
