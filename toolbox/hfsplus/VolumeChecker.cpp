#include "hfsplus/VolumeChecker.h"

#include "bytes/FormatError.h"
#include "hfsplus/AttributesChecker.h"
#include "hfsplus/CatalogChecker.h"
#include "hfsplus/TreeChecker.h"
#include "hfsplus/TreeKeys.h"

#include <bit>

namespace hfsplus {

namespace {

constexpr std::size_t smallestVolume = 4 * 512;

class Check {
public:
    explicit Check(const bytes::ByteSource& source)
        : m_source(source)
    { }

    std::vector<Finding> run()
    {
        if (readHeader()) {
            checkHeader();
            checkAlternateHeader();
            checkTrees();
        }
        return m_findings.take();
    }

private:
    bool readHeader();
    void checkHeader();
    void checkForkClump(const char* name, const ForkData& fork, bool mayBeZero);
    void checkAlternateHeader();
    void claimFrame(ForkChecker& forks);
    void checkTrees();
    void checkTree(ForkChecker& forks, CatalogID id, const ForkData& fork, TreeChecker::Rules rules,
        const TreeChecker::Visit& visit);
    uint8_t catalogOrder() const;
    void checkBitmap(ForkChecker& forks, const std::optional<ForkReader>& bitmap);

    const bytes::ByteSource& m_source;
    Findings m_findings;
    VolumeHeader m_header{};
    TreeHeader m_catalogHeader{};
};

/// False when the header is too wrong to go on with.
bool Check::readHeader()
{
    if (m_source.size() < smallestVolume) {
        m_findings.add("too short for a volume");
        return false;
    }
    m_header =
        bytes::recordAt<VolumeHeader>(m_source.read(volumeHeaderOffset, sizeof(VolumeHeader)));
    const bool plus = m_header.signature == signatureHFSPlus && m_header.version == versionHFSPlus;
    const bool cased = m_header.signature == signatureHFSX && m_header.version == versionHFSX;
    const uint32_t blockSize = m_header.blockSize;
    if (!plus && !cased) {
        m_findings.add("volume header: wrong signature or version");
        return false;
    }
    if (blockSize < sectorSize || !std::has_single_bit(blockSize)) {
        m_findings.add("volume header: block size is " + std::to_string(blockSize));
        return false;
    }
    const uint64_t blocks = m_source.size() / blockSize;
    if (m_header.totalBlocks == 0 || m_header.totalBlocks > blocks) {
        m_findings.add("volume header: " + std::to_string(m_header.totalBlocks)
            + " blocks, but the device has only " + std::to_string(blocks));
        return false;
    }
    m_findings.expect(m_header.totalBlocks == blocks,
        "volume header: the device has more blocks than the volume");
    return true;
}

void Check::checkHeader()
{
    const auto expect = [this](bool sound, const char* what) {
        m_findings.expect(sound, std::string("volume header: ") + what);
    };
    const uint32_t blockSize = m_header.blockSize, attributes = m_header.attributes;
    m_findings.prefer(
        (attributes & volumeUnmounted) != 0, "volume header: the volume was not unmounted cleanly");
    expect((attributes & volumeJournaled) == 0 || m_header.journalInfoBlock != 0,
        "journaled, but there is no journal");
    expect(m_header.encodingsBitmap != 0, "no text encodings");
    expect(m_header.nextAllocation < m_header.totalBlocks, "the search starts behind the volume");
    expect(m_header.nextCatalogID >= firstUserID, "the next catalog ID is too low");
    expect(m_header.rsrcClumpSize != 0 && m_header.rsrcClumpSize % blockSize == 0,
        "invalid clump size of resource forks");
    expect(m_header.dataClumpSize != 0 && m_header.dataClumpSize % blockSize == 0,
        "invalid clump size of data forks");
    m_findings.prefer(m_header.createDate != 0 && m_header.modifyDate != 0,
        "volume header: the volume has no dates");
    checkForkClump("allocation file", m_header.allocationFile, true);
    checkForkClump("extents file", m_header.extentsFile, true);
    checkForkClump("catalog file", m_header.catalogFile, true);
    checkForkClump(
        "attributes file", m_header.attributesFile, m_header.attributesFile.totalBlocks == 0);
}

void Check::checkForkClump(const char* name, const ForkData& fork, bool mayBeZero)
{
    const uint64_t largest = uint64_t{m_header.totalBlocks / 4} * m_header.blockSize;
    const uint32_t clump = fork.clumpSize;
    m_findings.expect(
        clump % m_header.blockSize == 0 && clump <= largest && (clump != 0 || mayBeZero),
        std::string("volume header: invalid clump size of the ") + name);
}

void Check::checkAlternateHeader()
{
    const auto alternate = bytes::recordAt<VolumeHeader>(
        m_source.read(m_source.size() - alternateHeaderDistance, sizeof(VolumeHeader)));
    if (alternate.signature != m_header.signature || alternate.version != m_header.version)
        m_findings.add("alternate volume header: missing");
    else
        // Systems update the copy only when the volume's size or its trees change.
        m_findings.prefer(
            alternate == m_header, "alternate volume header: differs from the volume header");
}

/// The boot blocks, the header and its copy have blocks of their own.
void Check::claimFrame(ForkChecker& forks)
{
    const uint32_t blockSize = m_header.blockSize, totalBlocks = m_header.totalBlocks;
    const auto head = static_cast<uint32_t>(
        (volumeHeaderOffset + sizeof(VolumeHeader) + blockSize - 1) / blockSize);
    forks.use().claim({0, std::min(head, totalBlocks)}, "the volume header");
    const uint64_t tailStart = (m_source.size() - alternateHeaderDistance) / blockSize;
    if (tailStart >= head && tailStart < totalBlocks)
        forks.use().claim(
            {static_cast<uint32_t>(tailStart), totalBlocks - static_cast<uint32_t>(tailStart)},
            "the alternate volume header");
}

void Check::checkTree(ForkChecker& forks, CatalogID id, const ForkData& fork,
    TreeChecker::Rules rules, const TreeChecker::Visit& visit)
{
    const std::string name = rules.name;
    if (fork.totalBlocks == 0 && id == attributesFileID)
        return;
    const auto file = forks.check(id, dataForkType, fork, "the " + name + " file");
    if (!file)
        return;
    TreeChecker tree(*file, std::move(rules), m_findings);
    tree.check(visit);
    if (id == catalogFileID)
        m_catalogHeader = tree.header();
}

/// How the catalog says it orders names; needed before the tree is checked.
uint8_t Check::catalogOrder() const
{
    const uint64_t start = uint64_t{m_header.catalogFile.extents[0].startBlock};
    const uint64_t offset = start * m_header.blockSize + headerRecordOffset;
    if (offset > m_source.size() || m_source.size() - offset < sizeof(TreeHeader))
        return 0;
    return bytes::recordAt<TreeHeader>(m_source.read(offset, sizeof(TreeHeader))).keyCompareType;
}

void Check::checkTrees()
{
    ForkChecker forks(m_source, m_header, m_findings);
    claimFrame(forks);
    const auto bitmap =
        forks.check(allocationFileID, dataForkType, m_header.allocationFile, "the allocation file");
    forks.check(startupFileID, dataForkType, m_header.startupFile, "the startup file");

    const bool zero = (m_header.attributes & volumeUnusedNodesZero) != 0;
    CatalogChecker catalog(m_header, forks, m_findings);
    AttributesChecker attributes(forks, m_findings);
    checkTree(forks, extentsFileID, m_header.extentsFile,
        {"extents", maximumExtentKey, extentKeyLess, zero},
        [&](const TreeRecord& record) { forks.addOverflow(record); });
    const bool cased = m_header.signature == signatureHFSX;
    const bool binary = cased && catalogOrder() == binaryKeys;
    checkTree(forks, catalogFileID, m_header.catalogFile,
        {"catalog", maximumCatalogKey, binary ? binaryCatalogKeyLess : catalogKeyLess, zero},
        [&](const TreeRecord& record) { catalog.add(record); });
    const uint8_t stored = m_catalogHeader.keyCompareType;
    m_findings.expect(stored == foldingKeys || (cased && stored == binaryKeys),
        "catalog tree: unknown order of names");
    checkTree(forks, attributesFileID, m_header.attributesFile,
        {"attributes", maximumAttributeKey, attributeKeyLess, zero}, [&](const TreeRecord& record) {
            if (const auto owner = attributes.add(record))
                catalog.addAttributeOwner(*owner);
        });
    attributes.finish();
    catalog.check();
    forks.finish();
    checkBitmap(forks, bitmap);
}

void Check::checkBitmap(ForkChecker& forks, const std::optional<ForkReader>& bitmap)
{
    if (!bitmap)
        return;
    const uint64_t needed = (uint64_t{m_header.totalBlocks} + 7) / 8;
    if (bitmap->size() < needed) {
        m_findings.add("bitmap: it has too few bits");
        return;
    }
    forks.use().compare(*bitmap);
    const uint32_t free = m_header.totalBlocks - forks.use().usedBlocks();
    m_findings.expect(free == m_header.freeBlocks,
        "invalid free block count " + std::to_string(m_header.freeBlocks) + ", should be "
            + std::to_string(free));
}

} // namespace

std::vector<Finding> checkVolume(const bytes::ByteSource& source)
{
    return Check(source).run();
}

} // namespace hfsplus
