#include "bytes/FormatError.h"
#include "bytes/Unicode.h"
#include "hfsplus/SystemMetadata.h"
#include "hfsplus/Volume.h"

namespace hfsplus {

namespace {

/// A host has to hold all metadata of a file in memory.
constexpr uint64_t largestMetadata = uint64_t{1} << 28;

std::vector<std::byte> readAll(const ForkReader& fork)
{
    return fork.read(0, static_cast<std::size_t>(fork.size()));
}

/// Takes `size` bytes from what the metadata of one file may have.
void spend(uint64_t& budget, uint64_t size, const Entry& entry)
{
    if (size > budget)
        throw bytes::FormatError("resource fork and attributes of file "
            + std::to_string(entry.contentID) + " are too large");
    budget -= size;
}

} // namespace

std::vector<std::byte> Volume::attributeValue(const AttributeTable::Value& value) const
{
    if (!value.inFork)
        return value.data;
    if (value.runBlocks != value.totalBlocks)
        throw bytes::FormatError(
            "an attribute of file " + std::to_string(value.file) + " lacks blocks");
    return readAll(ForkReader(m_source, m_header.blockSize, value.runs, value.size));
}

macfile::Metadata Volume::metadata(const Entry& entry) const
{
    uint64_t budget = largestMetadata;
    macfile::Metadata metadata;
    metadata.finderInfo = visibleFinderInfo(entry.finderInfo, entry.kind == EntryKind::symlink);
    spend(budget, entry.resourceFork.logicalSize, entry);
    if (entry.resourceFork.logicalSize > 0)
        metadata.resourceFork = readAll(resourceFork(entry));
    for (const AttributeTable::Value& value : attributes(entry.contentID)) {
        if (isSystemAttribute(value.name))
            continue;
        spend(budget, value.size, entry);
        metadata.attributes.emplace(bytes::utf8FromUtf16(value.name), attributeValue(value));
    }
    return metadata;
}

} // namespace hfsplus
