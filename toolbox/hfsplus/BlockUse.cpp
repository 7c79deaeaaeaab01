#include "hfsplus/BlockUse.h"

#include "bytes/FormatError.h"

#include <algorithm>

namespace hfsplus {

namespace {

constexpr uint64_t pieceBytes = uint64_t{1} << 20;
/// How far behind the last block's bit is looked; a volume that may grow has a larger bitmap.
constexpr uint64_t spareBytes = uint64_t{1} << 20;

} // namespace

BlockUse::BlockUse(uint32_t totalBlocks, Findings& findings)
    : m_used(totalBlocks)
    , m_findings(findings)
{ }

void BlockUse::claim(const BlockRun& run, const std::string& user)
{
    // Extents may overlap without end, each as long as the largest of volumes.
    if (m_claimed > m_used.size())
        return;
    m_claimed += run.count;
    bool reported = false;
    for (uint32_t block = run.start; block != run.end(); ++block) {
        if (m_used[block] && !reported) {
            m_findings.add("overlapped extents: block " + std::to_string(block) + " belongs to "
                + userOf(block) + " and to " + user);
            reported = true;
        }
        m_used[block] = true;
    }
    m_users.emplace(run.start, user);
}

std::string BlockUse::userOf(uint32_t block) const
{
    const auto behind = m_users.upper_bound(block);
    return behind == m_users.begin() ? "another" : std::prev(behind)->second;
}

void BlockUse::compare(const bytes::ByteSource& bitmap) const
{
    if (bitmap.size() < (uint64_t{m_used.size()} + 7) / 8)
        throw bytes::FormatError("the bitmap is too short");
    // Its file may be as large as the volume, whatever it needs.
    const uint64_t looked = std::min(bitmap.size(), uint64_t{m_used.size()} / 8 + spareBytes);
    for (uint64_t at = 0; at < looked && !m_findings.isFull(); at += pieceBytes)
        comparePiece(bitmap.read(at, std::min(looked - at, pieceBytes)), at * 8);
}

void BlockUse::comparePiece(std::span<const std::byte> bits, uint64_t firstBlock) const
{
    for (std::size_t i = 0; i < bits.size() * 8 && !m_findings.isFull(); ++i) {
        const bool marked = (bits[i / 8] & std::byte{0x80} >> i % 8) != std::byte{0};
        const uint64_t block = firstBlock + i;
        const bool used = block < m_used.size() && m_used[block];
        if (marked == used)
            continue;
        if (block >= m_used.size()) {
            m_findings.add("bitmap: a bit behind the last block is set");
            return;
        }
        m_findings.add("bitmap: block " + std::to_string(block)
            + (used ? " is marked free, but " + userOf(static_cast<uint32_t>(block)) + " uses it"
                    : " is marked used, but nothing uses it"));
    }
}

uint32_t BlockUse::usedBlocks() const
{
    return static_cast<uint32_t>(std::count(m_used.begin(), m_used.end(), true));
}

} // namespace hfsplus
