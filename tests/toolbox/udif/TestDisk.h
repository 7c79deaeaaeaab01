#pragma once

#include "udif/GuidPartitionTable.h"
#include "udif/ImageConverter.h"

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

/// Disks and folders for the tests of this room.
namespace testing_udif {

namespace fs = std::filesystem;
using Bytes = std::vector<std::byte>;

/// A folder that goes with the object.
class Scratch {
public:
    Scratch();
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    fs::path operator/(const std::string& name) const { return m_folder / name; }
    const fs::path& folder() const { return m_folder; }

private:
    fs::path m_folder;
};

/// A disk with a GUID partition table and one partition whose content has all that an encoder
/// meets: text, noise that doesn't shrink, zeros. No real volume, but its header's signature.
Bytes diskOf(uint64_t volumeSectors);
udif::SingleVolumeDisk planOf(uint64_t volumeSectors);

/// Bytes that don't compress, the same at each run.
void fillWithNoise(std::span<std::byte> out, uint64_t seed);

void writeFile(const fs::path& path, std::span<const std::byte> content);
Bytes readFile(const fs::path& path);

/// Converts the raw disk at `source`; what options don't say is as in the product.
udif::ConvertReport convert(
    const fs::path& source, const fs::path& target, udif::ConvertOptions options);
udif::ConvertReport convert(
    const fs::path& source, const fs::path& target, udif::ImageFormat format);

struct Outcome {
    int status = 0;
    std::string output; // both streams
};
/// Runs a shell command line; the administrator's tools are found too.
Outcome run(const std::string& command);

} // namespace testing_udif
