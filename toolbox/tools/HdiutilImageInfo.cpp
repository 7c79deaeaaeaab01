#include "bytes/ByteDevice.h"
#include "bytes/FormatError.h"
#include "hfsplus/Volume.h"
#include "tools/HdiutilVerbs.h"
#include "tools/Text.h"
#include "udif/DiskImage.h"
#include "udif/ImageInfo.h"

#include <ostream>

namespace tools {

namespace {

/// Nested `Key: value` lines, indented by tabs.
class Outline {
public:
    explicit Outline(std::ostream& out)
        : m_out(out)
    { }

    void item(std::string_view key, std::string_view value)
    {
        m_out << std::string(m_depth, '\t') << key << ": " << value << '\n';
    }
    void item(std::string_view key, uint64_t value) { item(key, std::to_string(value)); }
    void flag(std::string_view key, bool value) { item(key, value ? "true" : "false"); }
    template <typename Body>
    void group(std::string_view key, Body body)
    {
        m_out << std::string(m_depth, '\t') << key << ":\n";
        ++m_depth;
        body();
        --m_depth;
    }

private:
    std::ostream& m_out;
    std::size_t m_depth = 0;
};

std::string checksumType(const udif::StoredChecksum& checksum)
{
    return checksum.isCrc() ? "CRC32" : "none";
}

std::string checksumValue(const udif::StoredChecksum& checksum)
{
    return checksum.isCrc() ? crcText(checksum.value).substr(6) : "";
}

std::string volumeNameOf(const udif::DiskImage& image, const udif::ImageInfo::Region& region)
{
    const bytes::SourceRange source(image.disk(), region.firstSector * udif::sectorBytes,
        region.sectorCount * udif::sectorBytes);
    try {
        return oneLine(hfsplus::Volume(source).name());
    } catch (const bytes::FormatError&) {
        return "";
    }
}

void printSizes(Outline& lines, const udif::ImageInfo& info)
{
    lines.group("Size Information", [&] {
        lines.item("Total Bytes", info.totalBytes);
        lines.item("Compressed Ratio", decimal(info.compressedRatio, 6));
        lines.item("Sector Count", info.sectorCount);
        lines.item("Total Non-Empty Bytes", info.nonEmptyBytes);
        lines.item("Compressed Bytes", info.compressedBytes);
        lines.item("Total Empty Bytes", info.emptyBytes);
        lines.item("CUDIFEncoding-bytes-in-use", info.encodingBytesInUse);
        lines.item("CUDIFEncoding-bytes-total", info.encodingBytesTotal);
        lines.item("CUDIFEncoding-bytes-wasted", info.encodingBytesWasted);
    });
}

void printTables(Outline& lines, const udif::ImageInfo& info)
{
    lines.group("Partition Information", [&] {
        for (const udif::ImageInfo::Table& table : info.tables) {
            lines.group(std::to_string(table.number), [&] {
                lines.item("Name", oneLine(table.name));
                lines.item("Partition Number", std::to_string(table.number));
                lines.item("Checksum Type", checksumType(table.checksum));
                lines.item("Checksum Value", checksumValue(table.checksum));
            });
        }
    });
}

void printRegions(Outline& lines, const udif::DiskImage& image, const udif::ImageInfo& info)
{
    lines.group("partitions", [&] {
        lines.item("partition-scheme", nameOf(info.scheme));
        lines.item("block-size", udif::sectorBytes);
        lines.group("partitions", [&] {
            std::size_t index = 0;
            for (const udif::ImageInfo::Region& region : info.regions) {
                lines.group(std::to_string(index++), [&] {
                    lines.item("partition-name", oneLine(region.name));
                    lines.item("partition-start", region.firstSector);
                    lines.flag("partition-synthesized", region.synthesized);
                    lines.item("partition-length", region.sectorCount);
                    lines.item("partition-hint", oneLine(region.hint));
                    if (region.slice != 0)
                        lines.item("partition-number", region.slice);
                    if (region.holdsHfsPlus)
                        lines.group("partition-filesystems",
                            [&] { lines.item("HFS+", volumeNameOf(image, region)); });
                });
            }
        });
    });
}

void printProperties(Outline& lines, const udif::ImageInfo& info)
{
    lines.group("Properties", [&] {
        lines.flag("Encrypted", false);
        lines.flag("Kernel Compatible", info.kernelCompatible);
        lines.flag("Checksummed", info.checksummed);
        lines.flag("Software License Agreement", false);
        lines.flag("Partitioned", info.partitioned);
        lines.item("Compressed", info.compressed ? "true" : "no");
    });
}

} // namespace

int printImageInfo(Session& session)
{
    const auto path = session.hostPath(session.arguments.onlyOperand());
    if (session.volumes.isBeingWritten(path))
        throw volumes::VolumeError(volumes::VolumeError::Case::attachedAlready);
    const udif::DiskImage image = udif::DiskImage::open(path);
    const udif::ImageInfo info = udif::infoOf(image);

    Outline lines(session.out);
    lines.item("Format", info.format->code);
    lines.item("Format Description", info.format->description);
    lines.item("Class Name", info.className);
    lines.item("Checksum Type", checksumType(info.checksum));
    lines.item("Checksum Value", checksumValue(info.checksum));
    printSizes(lines, info);
    lines.group("Segments", [&] { lines.item("0", oneLine(path.string())); });
    printTables(lines, info);
    lines.group("Backing Store Information", [&] {
        lines.item("Name", oneLine(path.filename().string()));
        lines.item("URL", "file://" + oneLine(path.string()));
        lines.item("Class Name", "CBSDBackingStore");
    });
    printRegions(lines, image, info);
    lines.flag("appendable", false);
    lines.flag("burnable", false);
    lines.flag("udif-ordered-chunks", info.orderedChunks);
    printProperties(lines, info);
    session.out << "Resize limits (per hdiutil resize -limits):\n min \t cur \t max \n"
                << info.sectorCount << '\t' << info.sectorCount << '\t' << info.sectorCount << '\n';
    return 0;
}

} // namespace tools
