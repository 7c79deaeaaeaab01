#include "hfsplus/AttributeTable.h"

#include "bytes/ByteReader.h"
#include "bytes/FormatError.h"

#include <algorithm>

namespace hfsplus {

namespace {

/// A record of few bytes becomes many in memory.
constexpr std::size_t mostValues = std::size_t{1} << 22;

/// The value that a record of further extents goes on with.
void extend(AttributeTable::Value& value, const ExtentRecord& extents, uint32_t volumeBlocks)
{
    const auto more = runsOf(extents, volumeBlocks);
    value.runs.insert(value.runs.end(), more.begin(), more.end());
    value.runBlocks += blocksIn(more);
}

} // namespace

void AttributeTable::add(const TreeRecord& record, uint32_t volumeBlocks)
{
    bytes::ByteReader key(record.key);
    key.skip(4);
    Value value;
    value.file = key.u32();
    const uint32_t startBlock = key.u32();
    value.name = key.utf16(key.u16());

    bytes::ByteReader data(record.data, record.dataOffset);
    const uint32_t type = data.u32();
    if (!m_values.empty() && value.file < m_values.back().file)
        data.fail("attributes are out of order");
    if (type == attributeExtents) {
        data.seek(0);
        const auto stored = data.record<AttributeExtentsRecord>();
        if (m_values.empty() || m_values.back().file != value.file
            || m_values.back().name != value.name || !m_values.back().inFork
            || m_values.back().runBlocks != startBlock)
            data.fail("extents of an attribute don't follow its first ones");
        extend(m_values.back(), stored.extents, volumeBlocks);
        return;
    }
    if (type == attributeInline) {
        data.skip(8);
        value.size = data.u32();
        const auto stored = data.take(static_cast<std::size_t>(value.size));
        value.data.assign(stored.begin(), stored.end());
    } else if (type == attributeFork) {
        data.seek(0);
        const auto stored = data.record<AttributeForkRecord>();
        value.inFork = true;
        value.size = stored.fork.logicalSize;
        value.totalBlocks = stored.fork.totalBlocks;
        extend(value, stored.fork.extents, volumeBlocks);
    } else {
        data.fail("an attribute is of the unknown type " + std::to_string(type));
    }
    if (m_values.size() == mostValues)
        data.fail("there are more attributes than are read");
    m_values.push_back(std::move(value));
}

std::span<const AttributeTable::Value> AttributeTable::of(CatalogID file) const
{
    return {std::ranges::lower_bound(m_values, file, {}, &Value::file),
        std::ranges::upper_bound(m_values, file, {}, &Value::file)};
}

} // namespace hfsplus
