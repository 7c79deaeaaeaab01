#include "finder/StoreReader.h"

#include "bytes/ByteReader.h"
#include "bytes/FormatError.h"
#include "finder/StoreRecords.h"

namespace finder {

using bytes::ByteReader;
using bytes::FormatError;

namespace {

constexpr uint32_t mostBlocks = 1 << 20;
constexpr unsigned deepestTree = 64;
constexpr std::size_t smallestRecord = 12;

StoreRecord readRecord(ByteReader& in)
{
    StoreRecord record;
    record.name = in.utf16(in.u32());
    record.code = FourCC(in.u32());
    record.value.type = FourCC(in.u32());
    const auto* type = storeFormat::valueType(record.value.type);
    if (!type)
        in.fail("a record of the unknown type " + record.value.type.text());
    std::size_t length = type->size;
    if (type->counted)
        length *= in.u32();
    const auto value = in.take(length);
    record.value.bytes.assign(value.begin(), value.end());
    return record;
}

class Walk {
public:
    explicit Walk(std::span<const std::byte> file)
    {
        ByteReader in(file);
        if (in.u32() != storeFormat::prefix)
            throw FormatError("no .DS_Store: bad prefix", 0);
        m_space = file.subspan(storeFormat::prefixSize);
        m_budget = m_space.size();
    }

    StoreStructure run()
    {
        readBookkeeping();
        const auto tree = block(m_treeHeader).record<storeFormat::TreeHeader>();
        m_found.statedRecords = tree.recordCount;
        m_found.statedNodes = tree.nodeCount;
        m_found.statedLevels = tree.levelsAboveLeaves;
        m_visited.resize(m_found.blocks.size());
        visit(tree.rootNode, 0);
        return std::move(m_found);
    }

private:
    ByteReader range(uint32_t offset, uint64_t size, const char* what) const
    {
        if (offset > m_space.size() || m_space.size() - offset < size)
            throw FormatError(
                std::string(what) + " leaves the file", offset + storeFormat::prefixSize);
        return ByteReader(m_space.subspan(offset, size), offset + storeFormat::prefixSize);
    }

    ByteReader block(uint32_t number) const
    {
        if (number >= m_found.blocks.size() || m_found.blocks[number].width == 0)
            throw FormatError("no block has the number " + std::to_string(number));
        const BlockAddress& address = m_found.blocks[number];
        return range(address.offset, address.size(), "a block");
    }

    void readBookkeeping()
    {
        ByteReader start(m_space, storeFormat::prefixSize);
        const auto header = start.record<storeFormat::Header>();
        if (header.magic != storeFormat::magic.value)
            throw FormatError("no .DS_Store: bad magic", storeFormat::prefixSize);
        if (header.rootOffset != header.rootOffsetAgain)
            start.fail("the two offsets of the root block differ");
        ByteReader root = range(header.rootOffset, header.rootSize, "the root block");
        readAddresses(root);
        readContents(root);
        for (auto& list : m_found.freeLists)
            for (uint32_t count = root.u32(); count > 0; --count)
                list.push_back(root.u32());
    }

    void readAddresses(ByteReader& root)
    {
        const uint32_t count = root.u32();
        root.skip(4);
        if (count > mostBlocks)
            root.fail("too many blocks: " + std::to_string(count));
        constexpr auto step = storeFormat::addressesPerStep;
        ByteReader table(root.take((count + step - 1) / step * step * 4), root.offset());
        for (uint32_t i = 0; i < count; ++i)
            m_found.blocks.push_back(readAddress(table));
    }

    BlockAddress readAddress(ByteReader& table) const
    {
        const auto address = BlockAddress::unpacked(table.u32());
        if (address == BlockAddress{})
            return address;
        if (address.width < storeFormat::smallestWidth || address.width > storeFormat::spaceWidth)
            table.fail("a block of impossible size");
        range(address.offset, address.size(), "a block");
        return address;
    }

    void readContents(ByteReader& root)
    {
        for (uint32_t count = root.u32(); count > 0; --count) {
            const std::string name = root.text(root.u8());
            const uint32_t number = root.u32();
            if (name == storeFormat::treeName.text())
                m_treeHeader = number;
        }
        if (m_treeHeader == 0)
            root.fail("the table of contents names no tree");
    }

    void visit(uint32_t number, unsigned depth)
    {
        ByteReader in = block(number);
        if (depth > deepestTree)
            in.fail("the tree is too deep");
        if (m_visited[number])
            in.fail("a node is reached twice");
        // Blocks don't overlap, so all nodes together fit in the file.
        if (in.remaining() > m_budget)
            in.fail("nodes overlap");
        m_visited[number] = true;
        m_budget -= in.remaining();
        ++m_found.nodes;
        m_found.levels = std::max(m_found.levels, depth);

        const uint32_t lastChild = in.u32();
        const uint32_t count = in.u32();
        if (count > in.remaining() / smallestRecord)
            in.fail("more records than a node can hold");
        for (uint32_t i = 0; i < count; ++i) {
            if (lastChild != 0)
                visit(in.u32(), depth + 1);
            m_found.records.push_back(readRecord(in));
        }
        if (lastChild != 0)
            visit(lastChild, depth + 1);
    }

    std::span<const std::byte> m_space;
    uint32_t m_treeHeader = 0;
    StoreStructure m_found;
    std::vector<bool> m_visited;
    std::size_t m_budget = 0;
};

} // namespace

StoreStructure readStoreStructure(std::span<const std::byte> file)
{
    return Walk(file).run();
}

DesktopStore readStore(std::span<const std::byte> file)
{
    return DesktopStore(readStoreStructure(file).records);
}

} // namespace finder
