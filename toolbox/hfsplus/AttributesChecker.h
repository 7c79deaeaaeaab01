#pragma once

#include "hfsplus/ForkChecker.h"

namespace hfsplus {

/// Checks the records of the attributes tree, which come in its order.
class AttributesChecker {
public:
    /// Borrows both.
    AttributesChecker(ForkChecker& forks, Findings& findings);

    /// Gives the owner of the attribute that starts here; none for one that goes on.
    std::optional<CatalogID> add(const TreeRecord& record);
    /// Checks the last one. To be called when all are added.
    void finish();

private:
    void addInline(const TreeRecord& record);
    void addExtents(const ExtentRecord& extents);
    void goOn(const TreeRecord& record, uint32_t startBlock, bool sameKey);

    ForkChecker& m_forks;
    Findings& m_findings;
    CatalogID m_file = 0;
    std::u16string m_name;
    std::string m_who;
    ForkData m_fork{}; // of the value in progress
    std::vector<ExtentRecord> m_extents; // empty when that is none in blocks of its own
    uint64_t m_blocks = 0; // in all of them
};

} // namespace hfsplus
