#include "hfsplus/AttributesEdit.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"
#include "bytes/FormatError.h"
#include "hfsplus/SystemMetadata.h"
#include "hfsplus/TreeKeys.h"

namespace hfsplus {

AttributesEdit::AttributesEdit(
    const bytes::ByteSource& file, ForkStore& forks, uint32_t volumeBlocks)
    : m_forks(forks)
    , m_volumeBlocks(volumeBlocks)
    , m_tree(file, "attributes", attributesShape, attributeKeyLess)
{
    if (m_tree.nodeSize() < 4096)
        throw bytes::FormatError("the attributes' nodes are too small to be edited");
}

std::size_t AttributesEdit::firstOf(CatalogID file) const
{
    return m_tree.lowerBound(attributeKey(file, {}));
}

bool AttributesEdit::isOf(std::size_t place, CatalogID file) const
{
    return place < m_tree.records().size()
        && readAttributeKey(m_tree.records()[place].key).file == file;
}

void AttributesEdit::remove(CatalogID file, bool systemToo)
{
    for (std::size_t place = firstOf(file); isOf(place, file); ++place) {
        const TreeEdit::Record& record = m_tree.records()[place];
        if (record.removed || (!systemToo && isSystemAttribute(readAttributeKey(record.key).name)))
            continue;
        release(record);
        m_tree.remove(place);
    }
}

void AttributesEdit::release(const TreeEdit::Record& record)
{
    bytes::ByteReader in(record.data, record.dataOffset);
    const uint32_t type = in.u32();
    in.seek(0);
    if (type == attributeFork)
        m_forks.allocator().release(
            runsOf(in.record<AttributeForkRecord>().fork.extents, m_volumeBlocks));
    else if (type == attributeExtents)
        m_forks.allocator().release(
            runsOf(in.record<AttributeExtentsRecord>().extents, m_volumeBlocks));
}

void AttributesEdit::add(
    CatalogID file, const std::u16string& name, std::span<const std::byte> value)
{
    if (name.empty() || name.size() > maximumAttributeNameUnits || isSystemAttribute(name))
        return;
    ++m_added[file];
    if (value.size() > largestInlineAttribute(m_tree.nodeSize())) {
        addFork(file, name, value);
        return;
    }
    AttributeInlineHead head{};
    head.recordType = attributeInline;
    head.size = static_cast<uint32_t>(value.size());
    bytes::ByteWriter out;
    out.record(head);
    out.raw(value);
    out.align(2);
    m_tree.add(attributeKey(file, name), out.take());
}

void AttributesEdit::addFork(
    CatalogID file, const std::u16string& name, std::span<const std::byte> value)
{
    const auto runs = m_forks.place({value.size(), {}, {value.begin(), value.end()}});
    uint32_t before = 0;
    for (std::size_t i = 0; i < runs.size(); i += std::tuple_size_v<ExtentRecord>) {
        ExtentRecord extents{};
        const uint32_t start = before;
        for (std::size_t j = 0; j < extents.size() && i + j < runs.size(); ++j) {
            extents[j].startBlock = runs[i + j].start;
            extents[j].blockCount = runs[i + j].count;
            before += runs[i + j].count;
        }
        bytes::ByteWriter out;
        if (i == 0) {
            AttributeForkRecord record{};
            record.recordType = attributeFork;
            record.fork.logicalSize = value.size();
            record.fork.totalBlocks = static_cast<uint32_t>(blocksIn(runs));
            record.fork.extents = extents;
            out.record(record);
        } else {
            AttributeExtentsRecord record{};
            record.recordType = attributeExtents;
            record.extents = extents;
            out.record(record);
        }
        m_tree.add(attributeKey(file, name, start), out.take());
    }
}

bool AttributesEdit::has(CatalogID file) const
{
    if (m_added.contains(file))
        return true;
    for (std::size_t place = firstOf(file); isOf(place, file); ++place)
        if (!m_tree.records()[place].removed)
            return true;
    return false;
}

} // namespace hfsplus
