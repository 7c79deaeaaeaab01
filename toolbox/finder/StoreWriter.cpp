#include "finder/StoreWriter.h"

#include "bytes/ByteWriter.h"
#include "bytes/FormatError.h"
#include "finder/StoreLayout.h"
#include "finder/StoreRecords.h"

#include <algorithm>

namespace finder {

using bytes::ByteWriter;

namespace {

std::vector<std::byte> encodedRecord(const StoreRecord& record)
{
    const auto* type = storeFormat::valueType(record.value.type);
    const std::size_t length = record.value.bytes.size();
    if (!type || (type->counted ? length % type->size != 0 : length != type->size))
        throw bytes::FormatError("a value that is not of the type " + record.value.type.text());
    ByteWriter out;
    out.u32(static_cast<uint32_t>(record.name.size()));
    out.utf16(record.name);
    out.u32(record.code.value);
    out.u32(record.value.type.value);
    if (type->counted)
        out.u32(static_cast<uint32_t>(length / type->size));
    out.raw(record.value.bytes);
    return out.take();
}

std::vector<std::byte> headerBytes(const StoreLayout& layout)
{
    ByteWriter out;
    const BlockAddress& root = layout.blocks[0];
    out.u32(storeFormat::prefix);
    out.record(
        storeFormat::Header{storeFormat::magic.value, root.offset, root.size(), root.offset, {}});
    return out.take();
}

std::vector<std::byte> rootBlockBytes(const StoreLayout& layout)
{
    ByteWriter out;
    const std::size_t count = layout.blocks.size();
    constexpr auto step = storeFormat::addressesPerStep;
    out.u32(static_cast<uint32_t>(count));
    out.u32(0);
    for (const BlockAddress& block : layout.blocks)
        out.u32(block.packed());
    out.zeros(((count + step - 1) / step * step - count) * 4);
    const std::string name = storeFormat::treeName.text();
    out.u32(1);
    out.u8(static_cast<uint8_t>(name.size()));
    out.text(name);
    out.u32(1);
    for (const auto& list : layout.freeLists) {
        out.u32(static_cast<uint32_t>(list.size()));
        for (const uint32_t offset : list)
            out.u32(offset);
    }
    return out.take();
}

std::vector<std::byte> treeHeaderBytes(const StoreLayout& layout, std::size_t recordCount)
{
    ByteWriter out;
    out.record(storeFormat::TreeHeader{static_cast<uint32_t>(layout.blocks.size() - 1),
        layout.levelsAboveLeaves, static_cast<uint32_t>(recordCount),
        static_cast<uint32_t>(layout.nodes.size()), storeFormat::pageSize});
    return out.take();
}

std::vector<std::byte> nodeBytes(
    const NodePlan& node, std::span<const std::vector<std::byte>> records)
{
    const auto blockOf = [&node](std::size_t child) {
        return static_cast<uint32_t>(node.children[child] + StoreLayout::firstNodeBlock);
    };
    ByteWriter out;
    out.u32(node.children.empty() ? 0 : blockOf(node.children.size() - 1));
    out.u32(static_cast<uint32_t>(node.records.size()));
    for (std::size_t i = 0; i < node.records.size(); ++i) {
        if (!node.children.empty())
            out.u32(blockOf(i));
        out.raw(records[node.records[i]]);
    }
    return out.take();
}

} // namespace

std::vector<std::byte> writeStore(const DesktopStore& store)
{
    std::vector<std::vector<std::byte>> records;
    std::vector<std::size_t> sizes;
    for (const StoreRecord& record : store.records()) {
        records.push_back(encodedRecord(record));
        sizes.push_back(records.back().size());
    }
    const StoreLayout layout = layOutStore(sizes);

    std::vector<std::byte> file(layout.fileSize);
    const auto put = [&file](std::size_t position, const std::vector<std::byte>& content) {
        std::ranges::copy(content, file.begin() + static_cast<std::ptrdiff_t>(position));
    };
    const auto putBlock = [&](std::size_t number, const std::vector<std::byte>& content) {
        put(storeFormat::prefixSize + layout.blocks[number].offset, content);
    };
    put(0, headerBytes(layout));
    putBlock(0, rootBlockBytes(layout));
    putBlock(1, treeHeaderBytes(layout, records.size()));
    for (std::size_t i = 0; i < layout.nodes.size(); ++i)
        putBlock(StoreLayout::firstNodeBlock + i, nodeBytes(layout.nodes[i], records));
    return file;
}

} // namespace finder
