#include "hfsplus/AttributesChecker.h"

#include "bytes/ByteReader.h"
#include "bytes/Unicode.h"

namespace hfsplus {

AttributesChecker::AttributesChecker(ForkChecker& forks, Findings& findings)
    : m_forks(forks)
    , m_findings(findings)
{ }

std::optional<CatalogID> AttributesChecker::add(const TreeRecord& record)
{
    bytes::ByteReader key(record.key, record.dataOffset - record.key.size());
    const bytes::ByteReader::Mark start = key.mark();
    const uint16_t length = key.u16();
    key.skip(2);
    const CatalogID file = key.u32();
    const uint32_t startBlock = key.u32();
    const std::u16string name = key.utf16(key.u16());
    key.expectConsumed(start, 2U + length, "an attribute's key");

    const bool sameKey = file == m_file && name == m_name;
    const uint32_t type = bytes::ByteReader(record.data, record.dataOffset).u32();
    if (type == attributeExtents) {
        goOn(record, startBlock, sameKey);
        return std::nullopt;
    }
    finish();
    m_file = file;
    m_name = name;
    m_who = "attribute \"" + bytes::utf8FromUtf16(name) + "\" of id " + std::to_string(file);
    m_findings.expect(startBlock == 0 && !sameKey, m_who + ": it starts more than once");
    m_findings.expect(
        !name.empty() && name.size() <= maximumAttributeNameUnits, m_who + ": invalid name");
    if (type == attributeInline) {
        addInline(record);
    } else if (type == attributeFork) {
        m_fork =
            bytes::ByteReader(record.data, record.dataOffset).record<AttributeForkRecord>().fork;
        addExtents(m_fork.extents);
    } else {
        m_findings.add(m_who + ": a record of the unknown type " + std::to_string(type));
    }
    return file;
}

void AttributesChecker::addInline(const TreeRecord& record)
{
    const auto head =
        bytes::ByteReader(record.data, record.dataOffset).record<AttributeInlineHead>();
    const uint64_t needed = sizeof(head) + uint64_t{head.size};
    m_findings.expect(record.data.size() == needed + needed % 2,
        m_who + ": its size is " + std::to_string(head.size) + ", but its record has "
            + std::to_string(record.data.size()) + " bytes");
}

void AttributesChecker::addExtents(const ExtentRecord& extents)
{
    m_extents.push_back(extents);
    for (const ExtentDescriptor& extent : extents)
        m_blocks += extent.blockCount;
}

void AttributesChecker::goOn(const TreeRecord& record, uint32_t startBlock, bool sameKey)
{
    if (!sameKey || m_extents.empty() || m_blocks != startBlock) {
        m_findings.add(m_who + ": extents follow that don't go on with it");
        return;
    }
    addExtents(
        bytes::ByteReader(record.data, record.dataOffset).record<AttributeExtentsRecord>().extents);
}

void AttributesChecker::finish()
{
    if (!m_extents.empty())
        m_forks.checkAttribute(m_fork.logicalSize, m_fork.totalBlocks, m_extents, m_who);
    m_extents.clear();
    m_blocks = 0;
}

} // namespace hfsplus
