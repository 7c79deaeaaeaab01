#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>

namespace fuzz {

/// Where seeds go: `folder/TARGET/NAME`. What is called "sound-..." its target must accept.
class Seeds {
public:
    explicit Seeds(std::filesystem::path folder)
        : m_folder(std::move(folder))
    { }

    void add(const std::string& target, const std::string& name,
        std::span<const std::byte> content) const
    {
        std::filesystem::create_directories(m_folder / target);
        std::ofstream(m_folder / target / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(content.data()), std::ssize(content));
    }
    void add(const std::string& target, const std::string& name, std::string_view content) const
    {
        add(target, name, std::as_bytes(std::span(content)));
    }

private:
    std::filesystem::path m_folder;
};

/// Mach-O files, signatures, requirements, seals, property lists, keys and certificates.
void addCodeSeeds(const Seeds& seeds);
/// `.DS_Store` and what is in it, icons, forks, scripts.
void addFinderSeeds(const Seeds& seeds);
/// Disk images, their parts, partition maps and volumes.
void addImageSeeds(const Seeds& seeds);

} // namespace fuzz
