#include "SampleBundle.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <vector>

namespace fs = std::filesystem;

SampleBundle::SampleBundle()
{
    std::string pattern = (fs::temp_directory_path() / "codesign-XXXXXX").string();
    m_folder = fs::canonical(::mkdtemp(pattern.data()));
    fs::copy(SAMPLE_APP, app(), fs::copy_options::recursive | fs::copy_options::copy_symlinks);
}

SampleBundle::~SampleBundle()
{
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

std::string SampleBundle::fingerprint() const
{
    std::vector<std::string> lines;
    for (const auto& entry : fs::recursive_directory_iterator(m_folder)) {
        std::string line = entry.path().string() + " ";
        if (entry.is_symlink())
            line += fs::read_symlink(entry.path()).string();
        else if (entry.is_regular_file())
            line += std::to_string(std::hash<std::string>()(contentOf(entry.path()))) + " "
                + std::to_string(static_cast<unsigned>(entry.status().permissions()));
        lines.push_back(std::move(line));
    }
    std::ranges::sort(lines);
    std::string all;
    for (const std::string& line : lines)
        all += line + "\n";
    return all;
}

std::string contentOf(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void putContent(const fs::path& path, const std::string& content)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

void flip(const fs::path& path, std::uintmax_t offset)
{
    std::string content = contentOf(path);
    content.at(offset) = static_cast<char>(content.at(offset) ^ 0x20);
    putContent(path, content);
}
