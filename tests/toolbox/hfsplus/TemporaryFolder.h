#pragma once

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <stdlib.h>
#include <string>
#include <string_view>
#include <utility>

/// A folder of its own for a test, gone at its end.
class TemporaryFolder {
public:
    explicit TemporaryFolder(
        const std::filesystem::path& inside = std::filesystem::temp_directory_path())
    {
        std::string pattern = (inside / "hfsplus-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
        m_path = pattern;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    operator const std::filesystem::path&() const { return m_path; }

    /// Writes a file, with the folders above it, and says where it is.
    std::filesystem::path write(const std::filesystem::path& name, std::string_view content) const
    {
        const std::filesystem::path path = m_path / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }

private:
    std::filesystem::path m_path;
};

inline std::string contentOf(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}
