#include "FuzzFolder.h"

#include "bytes/File.h"

#include <cstdlib>

namespace fs = std::filesystem;

namespace fuzz {

FuzzFolder::FuzzFolder()
{
    const fs::path inMemory = "/dev/shm";
    const fs::path place = fs::is_directory(inMemory) ? inMemory : fs::temp_directory_path();
    std::string pattern = place / "vandor-fuzz-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr)
        bytes::throwErrno(pattern);
    m_path = pattern;
}

FuzzFolder::~FuzzFolder()
{
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

fs::path FuzzFolder::write(const std::string& name, std::span<const std::byte> content) const
{
    const fs::path path = m_path / name;
    fs::create_directories(path.parent_path());
    fs::remove(path);
    bytes::File::open(path, bytes::File::Mode::create).writeAt(0, content);
    return path;
}

fs::path FuzzFolder::emptied(const std::string& name) const
{
    const fs::path path = m_path / name;
    fs::remove_all(path);
    fs::create_directories(path);
    return path;
}

} // namespace fuzz
