#include "hfsplus/TreeEdit.h"

#include "bytes/FormatError.h"
#include "hfsplus/BTreeReader.h"

#include <algorithm>

namespace hfsplus {

namespace {

/// A tree is edited in memory; one of a million files ends far below.
constexpr uint64_t largestEditable = uint64_t{1} << 30;
/// How full nodes may become, in the order of preference.
constexpr unsigned fills[] = {85, 93, 100};

std::vector<std::byte> wholeFile(const bytes::ByteSource& file)
{
    if (file.size() > largestEditable)
        throw bytes::FormatError("a tree is too large to be edited");
    return file.read(0, static_cast<std::size_t>(file.size()));
}

} // namespace

TreeEdit::TreeEdit(
    const bytes::ByteSource& file, const char* name, const TreeShape& shape, Less less)
    : m_file(wholeFile(file))
    , m_shape(shape)
    , m_less(less)
    , m_added(less)
{
    if (m_file.empty())
        return;
    const BTreeReader reader(file, name, shape.maxKeyLength);
    m_shape.nodeSize = reader.header().nodeSize;
    m_shape.keyCompareType = reader.header().keyCompareType;
    m_shape.attributes = reader.header().attributes;
    m_shape.clumpSize = reader.header().clumpSize;
    reader.visitLeaves([&](const TreeRecord& record) {
        const std::span<const std::byte> all = m_file;
        const auto keyStart = static_cast<std::size_t>(record.dataOffset) - record.key.size();
        m_records.push_back({.key = all.subspan(keyStart, record.key.size()),
            .data = all.subspan(static_cast<std::size_t>(record.dataOffset), record.data.size()),
            .dataOffset = record.dataOffset});
        if (m_records.size() > 1 && !m_less(m_records.end()[-2].key, m_records.back().key))
            throw bytes::FormatError("the records of a tree are out of order", record.dataOffset);
    });
}

std::size_t TreeEdit::lowerBound(Key key) const
{
    const auto found = std::lower_bound(m_records.begin(), m_records.end(), key,
        [this](const Record& record, Key wanted) { return m_less(record.key, wanted); });
    return static_cast<std::size_t>(found - m_records.begin());
}

std::optional<std::size_t> TreeEdit::find(Key key) const
{
    const std::size_t place = lowerBound(key);
    const bool same =
        place < m_records.size() && !m_records[place].removed && !m_less(key, m_records[place].key);
    return same ? std::optional(place) : std::nullopt;
}

void TreeEdit::remove(std::size_t place)
{
    m_removed += m_records[place].removed ? 0 : 1;
    m_records[place].removed = true;
    m_replaced.erase(place);
}

void TreeEdit::replace(std::size_t place, std::span<const std::byte> data)
{
    if (std::ranges::equal(m_records[place].data.first(data.size()), data))
        m_replaced.erase(place);
    else
        m_replaced[place].assign(data.begin(), data.end());
}

bool TreeEdit::add(Key key, std::vector<std::byte> data)
{
    return !find(key)
        && m_added.emplace(std::vector(key.begin(), key.end()), std::move(data)).second;
}

void TreeEdit::feed(BTreeBuilder& builder) const
{
    auto replaced = m_replaced.begin();
    std::size_t place = 0;
    const auto feedUpTo = [&](std::size_t end) {
        for (; place < end; ++place) {
            const bool isReplaced = replaced != m_replaced.end() && replaced->first == place;
            if (!m_records[place].removed)
                builder.add(m_records[place].key,
                    isReplaced ? std::span<const std::byte>(replaced->second)
                               : m_records[place].data);
            if (isReplaced)
                ++replaced;
        }
    };
    for (const auto& [key, data] : m_added) {
        feedUpTo(lowerBound(key));
        builder.add(key, data);
    }
    feedUpTo(m_records.size());
}

uint32_t TreeEdit::nodesAt(unsigned fill) const
{
    TreeShape shape = m_shape;
    shape.fill = fill;
    BTreeBuilder builder(shape);
    feed(builder);
    return builder.finish().totalNodes;
}

uint64_t TreeEdit::neededBytes() const
{
    if (!needsRebuild())
        return m_file.size();
    return std::max<uint64_t>(m_file.size(), uint64_t{nodesAt(100)} * m_shape.nodeSize);
}

uint64_t TreeEdit::comfortableBytes(uint32_t blockSize) const
{
    return uint64_t{nodesWithSpare(nodesAt(fills[0]), m_shape.nodeSize, blockSize)}
    * m_shape.nodeSize;
}

void TreeEdit::writePatches(const Sink& sink) const
{
    for (const auto& [place, data] : m_replaced)
        sink(m_records[place].dataOffset, data);
}

void TreeEdit::write(uint64_t fileBytes, const Sink& sink) const
{
    if (!needsRebuild()) {
        writePatches(sink);
        return;
    }
    const auto totalNodes = static_cast<uint32_t>(fileBytes / m_shape.nodeSize);
    TreeShape shape = m_shape;
    for (const unsigned fill : fills) {
        shape.fill = fill;
        if (nodesAt(fill) <= totalNodes)
            break;
    }
    std::vector<std::byte> fresh(static_cast<std::size_t>(fileBytes));
    const auto place = [&](uint32_t number, std::span<const std::byte> node) {
        std::ranges::copy(
            node, fresh.begin() + static_cast<std::ptrdiff_t>(uint64_t{number} * node.size()));
    };
    BTreeBuilder builder(shape, place);
    feed(builder);
    builder.finish(totalNodes);

    // Most of a tree is often the same as before; only nodes that differ are worth writing.
    const std::span<const std::byte> all = fresh;
    for (std::size_t at = 0; at < all.size(); at += m_shape.nodeSize) {
        const std::size_t length = std::min<std::size_t>(m_shape.nodeSize, all.size() - at);
        const auto node = all.subspan(at, length);
        const bool same = at + length <= m_file.size()
            && std::ranges::equal(node, std::span(m_file).subspan(at, length));
        if (!same)
            sink(at, node);
    }
}

} // namespace hfsplus
