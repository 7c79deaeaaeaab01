#pragma once

#include "hfsplus/Findings.h"
#include "hfsplus/ForkReader.h"

#include <map>

namespace hfsplus {

/// Notes who uses each block of a volume and compares that with the bitmap.
class BlockUse {
public:
    BlockUse(uint32_t totalBlocks, Findings& findings);

    /// `user` names the fork for messages. Reports blocks that have a user already, until more are
    /// claimed in all than the volume has.
    void claim(const BlockRun& run, const std::string& user);
    /// Throws bytes::FormatError for a bitmap that has too few bits.
    void compare(const bytes::ByteSource& bitmap) const;
    uint32_t usedBlocks() const;

private:
    void comparePiece(std::span<const std::byte> bits, uint64_t firstBlock) const;
    std::string userOf(uint32_t block) const;

    std::vector<bool> m_used;
    uint64_t m_claimed = 0;
    std::map<uint32_t, std::string> m_users; // by the first block of each run
    Findings& m_findings;
};

} // namespace hfsplus
