#include "bytes/FormatError.h"
#include "bytes/Unicode.h"
#include "hfsplus/SystemMetadata.h"
#include "hfsplus/Volume.h"

namespace hfsplus {

namespace {

/// No resource fork or attribute that a host has to hold in memory may be larger.
constexpr uint64_t largestValue = uint64_t{1} << 28;

std::vector<std::byte> readAll(const ForkReader& fork)
{
    if (fork.size() > largestValue)
        throw bytes::FormatError(
            "a resource fork or attribute is too large: " + std::to_string(fork.size()) + " bytes");
    return fork.read(0, static_cast<std::size_t>(fork.size()));
}

} // namespace

std::vector<std::byte> Volume::attributeValue(const AttributeTable::Value& value) const
{
    if (!value.inFork)
        return value.data;
    if (blocksIn(value.runs) != value.totalBlocks)
        throw bytes::FormatError(
            "an attribute of file " + std::to_string(value.file) + " lacks blocks");
    return readAll(ForkReader(m_source, m_header.blockSize, value.runs, value.size));
}

macfile::Metadata Volume::metadata(const Entry& entry) const
{
    macfile::Metadata metadata;
    metadata.finderInfo = visibleFinderInfo(entry.finderInfo, entry.kind == EntryKind::symlink);
    if (entry.resourceFork.logicalSize > 0)
        metadata.resourceFork = readAll(resourceFork(entry));
    for (const AttributeTable::Value& value : attributes(entry.contentID))
        if (!isSystemAttribute(value.name))
            metadata.attributes.emplace(bytes::utf8FromUtf16(value.name), attributeValue(value));
    return metadata;
}

} // namespace hfsplus
