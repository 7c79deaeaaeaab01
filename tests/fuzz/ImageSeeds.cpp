#include "Seeds.h"

#include "FuzzFolder.h"
#include "SparseInput.h"
#include "archive/MakeZip.h"
#include "bytes/ByteWriter.h"
#include "bytes/File.h"
#include "codesign/CodeSigner.h"
#include "hfsplus/VolumeBuilder.h"
#include "lzfse/Encoder.h"
#include "macfile/Metadata.h"
#include "udif/ChunkCodec.h"
#include "udif/DiskImage.h"
#include "udif/GuidPartitionTable.h"
#include "udif/ImageConverter.h"
#include "udif/Udif.h"
#include "udif/UdifPropertyList.h"

#include <algorithm>

namespace fs = std::filesystem;
using namespace udif;

namespace fuzz {

namespace {

std::vector<std::byte> contentOf(const fs::path& path)
{
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    return file.read(0, file.size());
}

std::vector<std::byte> volumeOf(const fs::path& folder, uint32_t blockSize)
{
    hfsplus::VolumeBuilder builder(folder,
        {.volumeName = "Demo",
            .blockSize = blockSize,
            .slackBytes = 32768,
            .fixedTime = 3'800'000'000,
            .volumeID = 42});
    bytes::MemoryDevice device{std::vector<std::byte>(builder.volumeBytes())};
    builder.write(device);
    return device.bytes();
}

/// One of everything that a volume can hold.
fs::path sampleFolder(const FuzzFolder& around)
{
    const auto put = [&](const char* name, std::size_t size) {
        return around.write(name, std::vector<std::byte>(size, std::byte{'b'}));
    };
    put("folder/App.app/Contents/MacOS/tool", 600);
    const fs::path info = put("folder/App.app/Contents/Info.plist", 20);
    put("folder/caf\u00E9:1", 3);
    const fs::path marked = put("folder/nothing", 0);
    const fs::path folder = around.path() / "folder";
    fs::create_symlink("App.app/Contents", folder / "alias");
    fs::create_hard_link(info, folder / "linked.plist");
    macfile::Metadata metadata;
    metadata.setFinderFlags(0x4000, true);
    metadata.resourceFork.assign(40, std::byte{7});
    metadata.attributes["com.example.small"].assign(11, std::byte{1});
    macfile::writeMetadata(marked, metadata);
    return folder;
}

std::vector<std::byte> diskOf(std::span<const std::byte> volume)
{
    const SingleVolumeDisk plan{.volumeSectors = volume.size() / sectorBytes,
        .diskID = Guid::derived(1),
        .partitionID = Guid::derived(2)};
    bytes::MemoryDevice disk(std::vector<std::byte>(plan.diskSectors() * sectorBytes));
    writeGuidPartitionTable(disk, plan);
    disk.writeAt(SingleVolumeDisk::volumeFirstSector * sectorBytes, volume);
    return disk.bytes();
}

/// An Apple partition map of the map itself and one volume, and a master boot record.
void addOldMaps(const Seeds& seeds)
{
    bytes::ByteWriter apple;
    apple.text("ER");
    apple.u16(512);
    apple.u32(16);
    for (const auto& [number, type] : {std::pair{0U, "Apple_partition_map"}, {1U, "Apple_HFS"}}) {
        apple.padTo(512 * (number + 1));
        apple.text("PM");
        apple.u16(0);
        for (const uint32_t word : {2U, number == 0 ? 1U : 8U, number == 0 ? 7U : 8U})
            apple.u32(word);
        apple.padTo(512 * (number + 1) + 48);
        apple.text(type);
    }
    apple.padTo(512 * 16);
    seeds.add("partition_map", "sound-apple", packed(apple.bytes()));

    bytes::ByteWriter record;
    record.zeros(446);
    for (const uint32_t word : {0U, 0xAFU, 1U, 7U})
        record.u32le(word);
    record.padTo(510);
    record.u16(0x55AA);
    record.padTo(512 * 8);
    seeds.add("partition_map", "sound-master-boot-record", packed(record.bytes()));
}

void addImages(const Seeds& seeds, const FuzzFolder& around, std::span<const std::byte> disk)
{
    const fs::path raw = around.write("disk", disk);
    const std::pair<const char*, ImageFormat> formats[] = {{"sound-zlib", ImageFormat::UDZO},
        {"sound-bzip2", ImageFormat::UDBZ}, {"sound-raw", ImageFormat::UDRO}};
    for (const auto& [name, format] : formats) {
        ConvertOptions options;
        options.format = format;
        const fs::path path = around.path() / name;
        convertImage(DiskImage::open(raw), path, options);
        if (format != ImageFormat::UDRO)
            seeds.add("udif", name, contentOf(path));
    }
    const fs::path path = around.path() / "sound-zlib";
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    const Udif image = readUdif(file);
    seeds.add("block_table", "sound-list",
        file.read(image.trailer.xmlOffset, static_cast<std::size_t>(image.trailer.xmlLength)));
    for (const BlockTable& table : image.tables) {
        if (table.name.find("HFS") != std::string::npos)
            seeds.add("block_table", "sound-table", writeBlockTable(table));
    }
    codesign::CodeSigner({}, {}).sign(path);
    seeds.add("udif", "sound-signed", contentOf(path));
    seeds.add("signed_code", "sound-image", contentOf(path));
}

void addChunks(const Seeds& seeds)
{
    const std::vector<std::byte> content(512, std::byte{'c'});
    // The numbers by which the target knows the codecs.
    const std::pair<uint8_t, ChunkType> codecs[] = {
        {0, ChunkType::zlib}, {1, ChunkType::bzip2}, {3, ChunkType::lzfse}, {4, ChunkType::lzma}};
    for (const auto& [number, type] : codecs) {
        const ChunkCodec& codec = *codecFor(type);
        bytes::ByteWriter out;
        out.u8(number);
        out.u16le(512);
        out.raw(codec.makeEncoder(codec.defaultLevel)->encode(content));
        seeds.add("chunk", std::string("sound-") + codec.name, out.bytes());
    }
}

/// Words in no order: what entropy coding and matches are for.
std::string wordsOf(std::size_t length)
{
    static constexpr std::string_view words[] = {"volume ", "disk ", "window ", "icon ", "of "};
    std::string text;
    for (uint32_t state = 1; text.size() < length; state = state * 1664525 + 1013904223)
        text += words[(state >> 16) % std::size(words)];
    return text;
}

void addStreams(const Seeds& seeds)
{
    const std::pair<const char*, std::size_t> streams[] = {{"short", 200}, {"long", 9000}};
    for (const auto& [name, length] : streams) {
        const std::string text = wordsOf(length);
        seeds.add("lzfse", std::string("sound-") + name,
            lzfse::Encoder().encode(std::as_bytes(std::span(text))));
    }
}

void addArchives(const Seeds& seeds, const FuzzFolder& around, const fs::path& folder)
{
    const fs::path zip = around.path() / "archive.zip";
    archive::makeZip(folder, zip, {.keepParent = true});
    seeds.add("zip", "sound-beside", contentOf(zip));
    archive::makeZip(folder, zip, {.metadata = archive::MetadataPlace::collected});
    seeds.add("zip", "sound-collected", contentOf(zip));
}

} // namespace

void addImageSeeds(const Seeds& seeds)
{
    const FuzzFolder around;
    const fs::path sample = sampleFolder(around);
    for (const char* target : {"hfs_volume", "hfs_folder"}) {
        seeds.add(target, "sound-sample", packed(volumeOf(sample, 512)));
        seeds.add(target, "sound-empty", packed(volumeOf(around.emptied("empty"), 4096)));
    }
    const auto disk = diskOf(volumeOf(sample, 512));
    seeds.add("partition_map", "sound-guid", packed(std::span(disk).first(512 * 48)));
    addOldMaps(seeds);
    addImages(seeds, around, disk);
    addChunks(seeds);
    addStreams(seeds);
    addArchives(seeds, around, sample);
}

} // namespace fuzz
