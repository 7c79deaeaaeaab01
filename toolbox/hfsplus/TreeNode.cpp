#include "hfsplus/TreeNode.h"

#include "bytes/FormatError.h"

namespace hfsplus {

TreeNode::TreeNode(std::span<const std::byte> raw, uint32_t number)
    : m_raw(raw)
    , m_number(number)
    , m_descriptor(bytes::recordAt<NodeDescriptor>(raw))
{
    if (m_descriptor.kind < leafNode || m_descriptor.kind > mapNode)
        fail("is of no known kind");
    const std::size_t offsets = 2 * (count() + 1);
    if (m_raw.size() - sizeof(NodeDescriptor) < offsets)
        fail("has more records than room");
    if (offsetOf(0) != sizeof(NodeDescriptor))
        fail("doesn't start its records behind its descriptor");
    for (std::size_t i = 0; i < count(); ++i)
        if (offsetOf(i + 1) <= offsetOf(i) || offsetOf(i + 1) % 2 != 0)
            fail("has record offsets that don't ascend evenly");
    if (offsetOf(count()) > m_raw.size() - offsets)
        fail("has records that run into its offsets");
}

std::size_t TreeNode::offsetOf(std::size_t index) const
{
    return bytes::recordAt<be16>(m_raw.subspan(m_raw.size() - 2 * (index + 1)));
}

std::span<const std::byte> TreeNode::record(std::size_t index) const
{
    if (index >= count())
        fail("has no record " + std::to_string(index));
    return m_raw.subspan(offsetOf(index), offsetOf(index + 1) - offsetOf(index));
}

TreeRecord TreeNode::keyedRecord(std::size_t index, uint16_t maximumKeyLength) const
{
    const auto whole = record(index);
    const std::size_t keyLength = bytes::recordAt<be16>(whole);
    if (keyLength > maximumKeyLength || whole.size() - 2 < keyLength)
        fail("has a key of " + std::to_string(keyLength) + " bytes");
    // Keys of an odd length are padded; no tree of a volume has them, the format does.
    const std::size_t keyBytes = std::min(whole.size(), (2 + keyLength + 1) / 2 * 2);
    return {.node = m_number,
        .key = whole.first(2 + keyLength),
        .data = whole.subspan(keyBytes),
        .dataOffset = uint64_t{m_number} * m_raw.size() + offsetOf(index) + keyBytes};
}

std::span<const std::byte> TreeNode::freeSpace() const
{
    const std::size_t start = offsetOf(count());
    return m_raw.subspan(start, m_raw.size() - 2 * (count() + 1) - start);
}

void TreeNode::fail(const std::string& what) const
{
    throw bytes::FormatError(
        "node " + std::to_string(m_number) + " " + what, uint64_t{m_number} * m_raw.size());
}

} // namespace hfsplus
