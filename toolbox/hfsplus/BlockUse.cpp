#include "hfsplus/BlockUse.h"

#include "bytes/FormatError.h"

#include <algorithm>

namespace hfsplus {

BlockUse::BlockUse(uint32_t totalBlocks, Findings& findings)
    : m_used(totalBlocks)
    , m_findings(findings)
{ }

void BlockUse::claim(const BlockRun& run, const std::string& user)
{
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

void BlockUse::compare(const std::vector<std::byte>& bitmap) const
{
    if (bitmap.size() < (m_used.size() + 7) / 8)
        throw bytes::FormatError("the bitmap is too short");
    const auto bit = [&](std::size_t block) {
        return (bitmap[block / 8] & std::byte{0x80} >> block % 8) != std::byte{0};
    };
    for (std::size_t block = 0; block < m_used.size() && !m_findings.isFull(); ++block) {
        if (bit(block) == m_used[block])
            continue;
        if (m_used[block])
            m_findings.add("bitmap: block " + std::to_string(block) + " is marked free, but "
                + userOf(static_cast<uint32_t>(block)) + " uses it");
        else
            m_findings.add(
                "bitmap: block " + std::to_string(block) + " is marked used, but nothing uses it");
    }
    for (std::size_t block = m_used.size(); block < bitmap.size() * 8; ++block)
        if (bit(block)) {
            m_findings.add("bitmap: a bit behind the last block is set");
            return;
        }
}

uint32_t BlockUse::usedBlocks() const
{
    return static_cast<uint32_t>(std::count(m_used.begin(), m_used.end(), true));
}

} // namespace hfsplus
