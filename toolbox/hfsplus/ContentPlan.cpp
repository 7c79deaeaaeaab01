#include "hfsplus/ContentPlan.h"

#include <algorithm>

namespace hfsplus {

ContentPlan::ContentPlan(const FolderScan& scan, uint32_t blockSize)
    : m_scan(scan)
    , m_blockSize(blockSize)
    , m_firstBlocks(scan.objects().size())
{
    uint64_t next = 0;
    for (uint32_t index = 0; index < objectCount(); ++index) {
        m_firstBlocks[index] = static_cast<uint32_t>(next);
        if (!holdsContent(index))
            continue;
        eachFork(index, [&](const Fork& fork) { next += (fork.size - 1) / m_blockSize + 1; });
        if (next > UINT32_MAX)
            throw SourceError(scan.path(index), "the volume would be too large");
    }
    m_blockCount = static_cast<uint32_t>(next);
}

CatalogID ContentPlan::nextID() const
{
    if (!hasHardLinks())
        return privateFolderID();
    return linkedFileID(static_cast<uint32_t>(m_scan.linkGroups().size()));
}

uint32_t ContentPlan::fileCount() const
{
    const auto files = std::ranges::count_if(
        m_scan.objects(), [](const ScannedObject& object) { return !object.isFolder(); });
    return static_cast<uint32_t>(files) + static_cast<uint32_t>(m_scan.linkGroups().size());
}

uint32_t ContentPlan::folderCount() const
{
    const auto folders = std::ranges::count_if(m_scan.objects(), &ScannedObject::isFolder);
    return static_cast<uint32_t>(folders) - 1 + (hasHardLinks() ? 1 : 0);
}

bool ContentPlan::holdsContent(uint32_t index) const
{
    const uint32_t group = m_scan.objects()[index].linkGroup;
    return group == ScannedObject::none || m_scan.linkGroups()[group].front() == index;
}

void ContentPlan::eachFork(uint32_t index, const std::function<void(const Fork&)>& use) const
{
    const ScannedObject& object = m_scan.objects()[index];
    uint32_t block = m_firstBlocks[index];
    const auto visit = [&](Fork::Kind kind, uint64_t size, const ScannedAttribute* attribute) {
        if (size == 0)
            return;
        use({kind, size, block, attribute});
        block += static_cast<uint32_t>((size - 1) / m_blockSize + 1);
    };
    visit(Fork::Kind::data, object.size, nullptr);
    if (const ScannedMetadata* metadata = m_scan.metadata(object)) {
        visit(Fork::Kind::resource, metadata->resourceForkSize, nullptr);
        for (const ScannedAttribute& attribute : metadata->attributes) {
            if (attribute.isLarge())
                visit(Fork::Kind::attribute, attribute.size, &attribute);
        }
    }
}

} // namespace hfsplus
