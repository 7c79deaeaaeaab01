#include "hfsplus/ForkChecker.h"

#include "bytes/ByteReader.h"

namespace hfsplus {

ForkChecker::ForkChecker(
    const bytes::ByteSource& source, const VolumeHeader& header, Findings& findings)
    : m_source(source)
    , m_blockSize(header.blockSize)
    , m_totalBlocks(header.totalBlocks)
    , m_findings(findings)
    , m_use(header.totalBlocks, findings)
{ }

void ForkChecker::addOverflow(const TreeRecord& record)
{
    const auto key = bytes::ByteReader(record.key).record<ExtentKey>();
    if (record.data.size() != sizeof(ExtentRecord)) {
        m_findings.add("extents tree: a record of file " + std::to_string(key.fileID)
            + " has the wrong length");
        return;
    }
    m_findings.expect(key.forkType == dataForkType || key.forkType == resourceForkType,
        "extents tree: file " + std::to_string(key.fileID) + " has a fork of an unknown type");
    m_overflow.emplace(OverflowKey{key.fileID, key.forkType, key.startBlock},
        bytes::recordAt<ExtentRecord>(record.data));
}

std::optional<uint64_t> ForkChecker::append(
    const ExtentRecord& extents, const std::string& who, std::vector<BlockRun>& runs)
{
    uint64_t blocks = 0;
    bool ended = false;
    for (const ExtentDescriptor& extent : extents) {
        const BlockRun run{extent.startBlock, extent.blockCount};
        if (run.count == 0) {
            ended = true;
            continue;
        }
        if (ended || run.start > m_totalBlocks || m_totalBlocks - run.start < run.count) {
            m_findings.add(who + ": an extent from block " + std::to_string(run.start)
                + (ended ? " follows an unused one" : " leaves the volume"));
            return std::nullopt;
        }
        blocks += run.count;
        runs.push_back(run);
        if (!m_findings.isFull())
            m_use.claim(run, who);
    }
    return blocks;
}

bool ForkChecker::checkSum(uint64_t logicalSize, uint32_t totalBlocks,
    const std::vector<BlockRun>& runs, const std::string& who)
{
    const uint64_t blocks = blocksIn(runs);
    m_findings.expect(blocks == totalBlocks,
        who + ": incorrect block count: " + std::to_string(totalBlocks) + ", should be "
            + std::to_string(blocks));
    m_findings.expect(logicalSize <= blocks * m_blockSize,
        who + ": incorrect size: " + std::to_string(logicalSize) + " bytes in "
            + std::to_string(blocks) + " blocks");
    return blocks <= m_totalBlocks && logicalSize <= blocks * m_blockSize;
}

std::optional<ForkReader> ForkChecker::check(
    CatalogID file, uint8_t forkType, const ForkData& fork, const std::string& who)
{
    std::vector<BlockRun> runs;
    const auto first = append(fork.extents, who, runs);
    if (!first)
        return std::nullopt;
    for (uint64_t blocks = *first; blocks < fork.totalBlocks;) {
        const auto more = m_overflow.find({file, forkType, static_cast<uint32_t>(blocks)});
        if (more == m_overflow.end())
            break;
        const ExtentRecord extents = more->second;
        m_overflow.erase(more);
        const auto further = append(extents, who, runs);
        if (!further)
            return std::nullopt;
        blocks += *further;
    }
    if (!checkSum(fork.logicalSize, fork.totalBlocks, runs, who))
        return std::nullopt;
    return ForkReader(m_source, m_blockSize, std::move(runs), fork.logicalSize);
}

void ForkChecker::checkAttribute(uint64_t logicalSize, uint32_t totalBlocks,
    const std::vector<ExtentRecord>& extents, const std::string& who)
{
    std::vector<BlockRun> runs;
    for (const ExtentRecord& record : extents)
        if (!append(record, who, runs))
            return;
    checkSum(logicalSize, totalBlocks, runs, who);
}

void ForkChecker::finish()
{
    for (const auto& [key, extents] : m_overflow) {
        const auto& [file, forkType, start] = key;
        std::vector<BlockRun> runs;
        const std::string who = "file " + std::to_string(file);
        // What bad blocks occupy is recorded nowhere else.
        if (file == badBlocksFileID)
            append(extents, "bad blocks", runs);
        else
            m_findings.add("extents tree: the record of " + who + " at block "
                + std::to_string(start) + " belongs to no fork");
    }
}

} // namespace hfsplus
