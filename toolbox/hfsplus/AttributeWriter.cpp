#include "hfsplus/AttributeWriter.h"

#include "bytes/ByteWriter.h"

#include <algorithm>

namespace hfsplus {

namespace {

std::vector<std::byte> attributeKey(CatalogID id, const std::u16string& name)
{
    AttributeKeyHead head{};
    head.keyLength = static_cast<uint16_t>(sizeof head - 2 + 2 * name.size());
    head.fileID = id;
    head.nameUnits = static_cast<uint16_t>(name.size());
    bytes::ByteWriter key;
    key.record(head);
    key.utf16(name);
    return key.take();
}

std::vector<std::byte> inlineRecord(const ScannedAttribute& attribute)
{
    AttributeInlineHead head{};
    head.recordType = attributeInline;
    head.size = static_cast<uint32_t>(attribute.size);
    bytes::ByteWriter record;
    record.record(head);
    record.raw(attribute.value);
    return record.take();
}

} // namespace

AttributeWriter::AttributeWriter(const ContentPlan& plan, const VolumeLayout& layout)
    : m_plan(plan)
    , m_layout(layout)
{ }

bool AttributeWriter::hasAttributes() const
{
    const FolderScan& scan = m_plan.scan();
    return std::ranges::any_of(scan.objects(), [&](const ScannedObject& object) {
        const ScannedMetadata* metadata = scan.metadata(object);
        return metadata != nullptr && !metadata->attributes.empty();
    });
}

void AttributeWriter::writeTo(BTreeBuilder& tree) const
{
    const FolderScan& scan = m_plan.scan();
    for (uint32_t index = 0; index < scan.objects().size(); ++index) {
        if (scan.objects()[index].linkGroup == ScannedObject::none)
            writeObject(tree, index, m_plan.idOf(index));
    }
    for (uint32_t group = 0; group < scan.linkGroups().size(); ++group)
        writeObject(tree, scan.linkGroups()[group].front(), m_plan.linkedFileID(group));
}

void AttributeWriter::writeObject(BTreeBuilder& tree, uint32_t index, CatalogID id) const
{
    const FolderScan& scan = m_plan.scan();
    const ScannedMetadata* metadata = scan.metadata(scan.objects()[index]);
    if (metadata == nullptr)
        return;
    std::vector<ContentPlan::Fork> large;
    m_plan.eachFork(index, [&](const ContentPlan::Fork& fork) {
        if (fork.kind == ContentPlan::Fork::Kind::attribute)
            large.push_back(fork);
    });
    auto nextLarge = large.begin();
    for (const ScannedAttribute& attribute : metadata->attributes) {
        const std::vector<std::byte> key = attributeKey(id, attribute.name);
        if (!attribute.isLarge()) {
            tree.add(key, inlineRecord(attribute));
            continue;
        }
        AttributeForkRecord record{};
        record.recordType = attributeFork;
        record.fork = m_layout.fork(attribute.size, m_layout.content.start + nextLarge->firstBlock);
        ++nextLarge;
        tree.add(key, bytes::recordBytes(record));
    }
}

} // namespace hfsplus
