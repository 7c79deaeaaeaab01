#include "TestDisk.h"

#include "bytes/ByteDevice.h"
#include "bytes/File.h"
#include "udif/DiskImage.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string_view>
#include <sys/wait.h>

namespace testing_udif {

Scratch::Scratch()
{
    std::string pattern = (fs::temp_directory_path() / "udif-test-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        bytes::throwErrno(pattern);
    m_folder = pattern;
}

Scratch::~Scratch()
{
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

namespace {

/// Words and numbers in no order: a plain repetition takes bzip2 a hundred times as long.
void fillWithText(std::span<std::byte> out)
{
    constexpr std::array<std::string_view, 8> words{
        "volume ", "holds ", "what ", "its ", "maker ", "put ", "on it, ", "line for line.\n"};
    std::mt19937_64 random(1);
    while (!out.empty()) {
        const std::string word =
            std::string(words[random() % words.size()]) + std::to_string(random() % 10000) + ' ';
        const auto part = std::as_bytes(std::span(word)).first(std::min(word.size(), out.size()));
        std::ranges::copy(part, out.begin());
        out = out.subspan(part.size());
    }
}

} // namespace

void fillWithNoise(std::span<std::byte> out, uint64_t seed)
{
    std::mt19937_64 random(seed);
    std::ranges::generate(out, [&] { return static_cast<std::byte>(random()); });
}

udif::SingleVolumeDisk planOf(uint64_t volumeSectors)
{
    return {.volumeSectors = volumeSectors,
        .diskID = udif::Guid::derived(1),
        .partitionID = udif::Guid::derived(2)};
}

Bytes diskOf(uint64_t volumeSectors)
{
    const udif::SingleVolumeDisk plan = planOf(volumeSectors);
    bytes::MemoryDevice disk(Bytes(plan.diskSectors() * udif::sectorBytes));
    writeGuidPartitionTable(disk, plan);

    // A sixth of noise, a half of text, the rest zeros.
    Bytes volume(volumeSectors * udif::sectorBytes);
    fillWithText(std::span(volume).first(volume.size() / 2));
    fillWithNoise(std::span(volume).subspan(volume.size() / 2, volume.size() / 6), volumeSectors);
    volume[1024] = std::byte{'H'};
    volume[1025] = std::byte{'+'};
    disk.writeAt(udif::SingleVolumeDisk::volumeFirstSector * udif::sectorBytes, volume);
    return disk.bytes();
}

void writeFile(const fs::path& path, std::span<const std::byte> content)
{
    fs::remove(path);
    bytes::File::open(path, bytes::File::Mode::create).writeAt(0, content);
}

Bytes readFile(const fs::path& path)
{
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    return file.read(0, file.size());
}

udif::ConvertReport convert(
    const fs::path& source, const fs::path& target, udif::ConvertOptions options)
{
    options.replace = true;
    return convertImage(udif::DiskImage::open(source), target, options);
}

udif::ConvertReport convert(
    const fs::path& source, const fs::path& target, udif::ImageFormat format)
{
    udif::ConvertOptions options;
    options.format = format;
    return convert(source, target, options);
}

Outcome run(const std::string& command)
{
    const std::string line = "PATH=\"$PATH:/usr/sbin\"; { " + command + " ; } 2>&1";
    FILE* pipe = ::popen(line.c_str(), "r");
    if (!pipe)
        bytes::throwErrno(command);
    Outcome outcome;
    std::array<char, 4096> part{};
    for (std::size_t count = 0; (count = std::fread(part.data(), 1, part.size(), pipe)) != 0;)
        outcome.output.append(part.data(), count);
    const int status = ::pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

} // namespace testing_udif
