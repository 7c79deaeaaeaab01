#include "finder/Bookmark.h"

#include "bytes/ByteReader.h"
#include "bytes/FormatError.h"

#include <array>

namespace finder {

using bytes::ByteReader;
using bytes::FormatError;
using bytes::le32;

namespace {

constexpr uint32_t headerSize = 48;
constexpr uint32_t tableMark = 0xFFFFFFFE;
constexpr unsigned mostTables = 64;
constexpr uint32_t targetTable = 1;

enum ItemType : uint32_t { textItem = 0x0101, arrayItem = 0x0601 };
enum Key : uint32_t { pathKey = 0x1004, volumePathKey = 0x2002, volumeNameKey = 0x2010 };

struct Header {
    std::array<char, 4> magic;
    le32 totalSize, version, headerSize;
    std::array<std::byte, 32> reserved;
};
static_assert(sizeof(Header) == headerSize && bytes::isStoredRecord<Header>);

struct TableEntry {
    le32 key, item, reserved;
};
static_assert(sizeof(TableEntry) == 12 && bytes::isStoredRecord<TableEntry>);

struct Item {
    uint32_t type;
    std::span<const std::byte> data;
};

class BookmarkReader {
public:
    explicit BookmarkReader(std::span<const std::byte> raw)
    {
        const auto header = ByteReader(raw).record<Header>();
        if (header.magic != std::array{'b', 'o', 'o', 'k'} || header.headerSize != headerSize)
            throw FormatError("no bookmark", 0);
        if (header.totalSize != raw.size())
            throw FormatError(
                "a bookmark says it has " + std::to_string(header.totalSize.value()) + " bytes", 4);
        m_body = raw.subspan(headerSize);
    }

    Bookmark read()
    {
        uint32_t table = at(0).u32le();
        for (unsigned count = 0; table != 0; ++count) {
            if (count == mostTables)
                throw FormatError("a bookmark with too many tables");
            table = readTable(table);
        }
        if (m_found.path.empty())
            throw FormatError("a bookmark without a path");
        return std::move(m_found);
    }

private:
    ByteReader at(uint32_t offset) const
    {
        ByteReader in(m_body, headerSize);
        in.seek(offset);
        return in;
    }

    /// Returns the next table's offset.
    uint32_t readTable(uint32_t offset)
    {
        ByteReader in = at(offset);
        in.skip(4);
        if (in.u32le() != tableMark)
            in.fail("no table of a bookmark");
        const uint32_t id = in.u32le();
        const uint32_t next = in.u32le();
        const uint32_t count = in.u32le();
        for (uint32_t i = 0; i < count; ++i) {
            const auto entry = in.record<TableEntry>();
            const Item item = itemAt(entry.item);
            if (id == targetTable)
                take(entry.key, item);
        }
        return next;
    }

    Item itemAt(uint32_t offset) const
    {
        ByteReader in = at(offset);
        const uint32_t length = in.u32le();
        const uint32_t type = in.u32le();
        return {type, in.take(length)};
    }

    void take(uint32_t key, const Item& item)
    {
        if (key == volumeNameKey)
            m_found.volumeName = text(item);
        else if (key == volumePathKey)
            m_found.volumePath = text(item);
        else if (key == pathKey)
            m_found.path = texts(item);
    }

    static std::string text(const Item& item)
    {
        if (item.type != textItem)
            throw FormatError("a bookmark's text has another type");
        return ByteReader(item.data).text(item.data.size());
    }

    std::vector<std::string> texts(const Item& item) const
    {
        if (item.type != arrayItem)
            throw FormatError("a bookmark's path is no array");
        std::vector<std::string> found;
        std::size_t budget = m_body.size(); // the parts don't overlap
        for (ByteReader in(item.data); !in.atEnd();) {
            found.push_back(text(itemAt(in.u32le())));
            if (found.back().size() > budget)
                in.fail("the parts of a bookmark's path overlap");
            budget -= found.back().size();
        }
        return found;
    }

    std::span<const std::byte> m_body;
    Bookmark m_found;
};

constexpr FourCC firstPart = "pBBk";
constexpr std::array<FourCC, 10> furtherParts{
    "pBB0", "pBB1", "pBB2", "pBB3", "pBB4", "pBB5", "pBB6", "pBB7", "pBB8", "pBB9"};

} // namespace

Bookmark readBookmark(std::span<const std::byte> raw)
{
    return BookmarkReader(raw).read();
}

std::vector<std::byte> backgroundBookmark(const DesktopStore& store, std::u16string_view name)
{
    const StoreValue* part = store.find(name, firstPart);
    if (!part)
        return {};
    std::vector<std::byte> whole = part->bytes;
    for (const FourCC code : furtherParts) {
        part = store.find(name, code);
        if (!part)
            break;
        whole.insert(whole.end(), part->bytes.begin(), part->bytes.end());
    }
    return whole;
}

void removeBackgroundBookmark(DesktopStore& store, std::u16string_view name)
{
    store.remove(name, firstPart);
    for (const FourCC code : furtherParts)
        store.remove(name, code);
}

} // namespace finder
