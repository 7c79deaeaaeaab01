#include "hfsplus/VolumeBuilder.h"

#include "hfsplus/AttributeWriter.h"
#include "hfsplus/CatalogWriter.h"
#include "hfsplus/Dates.h"
#include "hfsplus/Names.h"
#include "hfsplus/VolumeStream.h"

#include <algorithm>
#include <bit>
#include <ctime>
#include <random>
#include <stdexcept>

namespace hfsplus {

namespace fs = std::filesystem;

namespace {

constexpr unsigned treeFill = 80; // percent
/// As Apple's formatter has it: larger volumes have larger catalog nodes.
constexpr uint64_t largeVolume = uint64_t{1} << 30;
constexpr uint32_t smallCatalogNode = 4096;
constexpr uint32_t smallestTree = 8; // nodes

uint64_t drawnVolumeID()
{
    std::random_device random;
    return uint64_t{random()} << 32 | random();
}

BuildOptions checked(BuildOptions options)
{
    if (!std::has_single_bit(options.blockSize) || options.blockSize < sectorSize)
        throw std::invalid_argument("block size");
    if (options.volumeID == 0)
        options.volumeID = drawnVolumeID();
    return options;
}

uint64_t treeBytes(const TreeHeader& measured, uint32_t blockSize)
{
    const uint32_t nodes =
        nodesWithSpare(measured.totalNodes - measured.freeNodes, measured.nodeSize, blockSize);
    return uint64_t{nodes} * measured.nodeSize;
}

/// Puts trees in their places on a volume. Nodes go out through the stream in their order; a
/// header node is complete last but lies first, so header nodes wait until the stream is through.
class TreePlacer {
public:
    TreePlacer(VolumeStream& stream, uint32_t blockSize)
        : m_stream(stream)
        , m_blockSize(blockSize)
    { }

    /// `build` adds the records.
    template <typename Build>
    void place(const TreeShape& shape, const BlockRun& run, Build build)
    {
        const uint64_t start = uint64_t{run.start} * m_blockSize;
        BTreeBuilder tree(shape, [&](uint32_t number, std::span<const std::byte> node) {
            if (number == 0) {
                m_headers.push_back({start, {node.begin(), node.end()}});
                return;
            }
            m_stream.seek(start + uint64_t{number} * shape.nodeSize);
            m_stream.write(node);
        });
        build(tree);
        const uint64_t treeSize = uint64_t{run.count} * m_blockSize;
        tree.finish(static_cast<uint32_t>(treeSize / shape.nodeSize));
    }

    void writeHeaders(bytes::ByteDevice& volume) const
    {
        for (const Header& header : m_headers)
            volume.writeAt(header.offset, header.node);
    }

private:
    struct Header {
        uint64_t offset;
        std::vector<std::byte> node;
    };

    VolumeStream& m_stream;
    uint32_t m_blockSize;
    std::vector<Header> m_headers;
};

/// One bit a block, the first in a byte's highest: a fresh volume is used from its start to the
/// end of the content, and at its very end.
void writeBitmap(VolumeStream& stream, const VolumeLayout& layout)
{
    std::vector<std::byte> bits(std::size_t{layout.bitmap.count} * layout.blockSize);
    const auto mark = [&](uint32_t block) { bits[block / 8] |= std::byte{0x80} >> (block % 8); };
    const uint32_t used = layout.content.end();
    std::fill_n(bits.begin(), used / 8, std::byte{0xFF});
    for (uint32_t block = used / 8 * 8; block < used; ++block)
        mark(block);
    for (uint32_t i = 1; i <= layout.tailBlocks(); ++i)
        mark(layout.totalBlocks - i);
    stream.seek(uint64_t{layout.bitmap.start} * layout.blockSize);
    stream.write(bits);
}

} // namespace

VolumeBuilder::VolumeBuilder(const fs::path& folder, BuildOptions options)
    : m_options(checked(std::move(options)))
    , m_name(nameFromVolumeName(m_options.volumeName))
    , m_scan(folder, largestInlineAttribute(attributesShape.nodeSize))
    , m_plan(m_scan, m_options.blockSize)
    , m_catalogShape(catalogShape)
    , m_attributesShape(attributesShape)
    , m_extentsShape(extentsShape)
{
    settleLayout();
}

uint64_t VolumeBuilder::slackBytes() const
{
    uint64_t fileBytes = 0;
    for (const ScannedObject& object : m_scan.objects())
        fileBytes += object.isSymlink() ? 0 : object.size;
    return std::max(m_options.slackBytes, fileBytes / 100 * m_options.slackPercent);
}

void VolumeBuilder::settleLayout()
{
    const uint64_t contentBytes = uint64_t{m_plan.blockCount()} * m_options.blockSize;
    const uint64_t slack = slackBytes();
    if (contentBytes + slack < largeVolume && m_options.volumeBytes < largeVolume)
        m_catalogShape.nodeSize = smallCatalogNode;
    m_catalogShape.fill = m_attributesShape.fill = treeFill;

    m_layout.blockSize = m_options.blockSize; // what measuring needs
    VolumeNeeds needs;
    needs.blockSize = m_options.blockSize;
    needs.contentBlocks = m_plan.blockCount();
    needs.slack = slack;
    needs.wantedSize = m_options.volumeBytes;
    needs.extentsTree = uint64_t{smallestTree} * m_extentsShape.nodeSize;
    BTreeBuilder catalog(m_catalogShape);
    buildCatalog(catalog);
    needs.catalogTree = treeBytes(catalog.finish(), m_options.blockSize);
    if (AttributeWriter(m_plan, m_layout).hasAttributes()) {
        BTreeBuilder attributes(m_attributesShape);
        buildAttributes(attributes);
        needs.attributesTree = treeBytes(attributes.finish(), m_options.blockSize);
    }
    m_layout = VolumeLayout::forNeeds(needs);
    for (TreeShape* shape : {&m_catalogShape, &m_attributesShape, &m_extentsShape})
        shape->clumpSize = m_layout.clumpSize();
}

void VolumeBuilder::buildCatalog(BTreeBuilder& tree) const
{
    CatalogWriter(m_plan, m_layout, m_name, m_options.fixedTime).writeTo(tree);
}

void VolumeBuilder::buildAttributes(BTreeBuilder& tree) const
{
    AttributeWriter(m_plan, m_layout).writeTo(tree);
}

BuildReport VolumeBuilder::write(bytes::ByteDevice& volume, const ContentWriter::Progress& progress)
{
    if (volume.size() != volumeBytes())
        throw std::invalid_argument("the device is not as large as the volume");

    VolumeStream stream(volume, 0);
    TreePlacer trees(stream, m_layout.blockSize);
    writeBitmap(stream, m_layout);
    trees.place(m_extentsShape, m_layout.extentsTree, [](BTreeBuilder&) {});
    if (m_layout.attributesTree.count != 0)
        trees.place(m_attributesShape, m_layout.attributesTree,
            [this](BTreeBuilder& tree) { buildAttributes(tree); });
    trees.place(
        m_catalogShape, m_layout.catalogTree, [this](BTreeBuilder& tree) { buildCatalog(tree); });
    stream.flush();
    ContentWriter(m_plan, volume, uint64_t{m_layout.content.start} * m_layout.blockSize)
        .writeAll(progress);

    // The headers come last: what was broken off is no volume.
    trees.writeHeaders(volume);
    const VolumeHeader head = header();
    volume.writeAt(volumeBytes() - alternateHeaderDistance, bytes::recordBytes(head));
    volume.writeAt(volumeHeaderOffset, bytes::recordBytes(head));

    BuildReport report;
    report.volumeBytes = volumeBytes();
    report.freeBytes = uint64_t{m_layout.freeBlocks} * m_layout.blockSize;
    report.files = m_plan.fileCount() - static_cast<uint32_t>(m_scan.linkGroups().size());
    report.folders = m_plan.folderCount() - (m_plan.hasHardLinks() ? 1 : 0);
    return report;
}

VolumeHeader VolumeBuilder::header() const
{
    VolumeHeader header{};
    header.signature = signatureHFSPlus;
    header.version = versionHFSPlus;
    header.attributes = volumeUnmounted | volumeUnusedNodesZero;
    header.lastMountedVersion = lastMountedByMac;
    // The creation date alone is local time. It gets the same number as the others: a volume must
    // not depend on the time zone of the machine that builds it, and builds run in UTC.
    const uint32_t now = m_options.fixedTime.value_or(macDate(std::time(nullptr)));
    header.createDate = header.modifyDate = header.checkedDate = now;
    header.fileCount = m_plan.fileCount();
    header.folderCount = m_plan.folderCount();
    header.blockSize = m_layout.blockSize;
    header.totalBlocks = m_layout.totalBlocks;
    header.freeBlocks = m_layout.freeBlocks;
    header.nextAllocation = m_layout.content.end();
    header.rsrcClumpSize = header.dataClumpSize = m_layout.clumpSize();
    header.nextCatalogID = m_plan.nextID();
    header.writeCount = uint32_t{1};
    header.encodingsBitmap = uint64_t{1};
    header.finderInfo[2] = rootFolderID; // the window that opens on mounting
    // An identifier counts only if neither half is zero.
    const auto nonZero = [](uint64_t half) { return half == 0 ? 1U : static_cast<uint32_t>(half); };
    header.finderInfo[6] = nonZero(m_options.volumeID >> 32);
    header.finderInfo[7] = nonZero(m_options.volumeID & UINT32_MAX);
    header.allocationFile = m_layout.specialFile(m_layout.bitmap);
    header.extentsFile = m_layout.specialFile(m_layout.extentsTree);
    header.attributesFile = m_layout.specialFile(m_layout.attributesTree);
    header.catalogFile = m_layout.specialFile(m_layout.catalogTree);
    return header;
}

} // namespace hfsplus
