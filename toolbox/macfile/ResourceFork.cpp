#include "macfile/ResourceFork.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"
#include "bytes/FormatError.h"

#include <algorithm>
#include <string_view>

namespace macfile {

using bytes::be16;
using bytes::be32;
using bytes::bei16;
using bytes::ByteReader;
using bytes::ByteWriter;
using bytes::FormatError;

namespace {

constexpr uint32_t dataStart = 256;
constexpr uint16_t noName = 0xFFFF;
constexpr std::string_view fillerText = "This resource fork intentionally left blank   ";

struct ForkHeader {
    be32 dataOffset, mapOffset, dataLength, mapLength;
};
static_assert(sizeof(ForkHeader) == 16 && bytes::isStoredRecord<ForkHeader>);

struct MapHeader {
    ForkHeader copy;
    be32 nextMap;
    be16 file, attributes, typeListOffset, nameListOffset; // both from the map's start
};
static_assert(sizeof(MapHeader) == 28 && bytes::isStoredRecord<MapHeader>);

struct TypeEntry {
    ResourceType type;
    be16 lastIndex; // count less one
    be16 references; // from the type list's start
};
static_assert(sizeof(TypeEntry) == 8 && bytes::isStoredRecord<TypeEntry>);

struct Reference {
    bei16 id;
    be16 nameOffset; // from the name list's start
    be32 place; // attributes in the upper byte, data offset below
    be32 handle;
};
static_assert(sizeof(Reference) == 12 && bytes::isStoredRecord<Reference>);

std::span<const std::byte> slice(
    std::span<const std::byte> fork, uint32_t offset, uint32_t length, const char* what)
{
    if (offset > fork.size() || fork.size() - offset < length)
        throw FormatError(std::string(what) + " leaves the resource fork", offset);
    return fork.subspan(offset, length);
}

/// One pass over a map. What is found is bounded by the fork's size, whatever its counts say.
class MapReader {
public:
    explicit MapReader(std::span<const std::byte> fork)
    {
        const auto header = ByteReader(fork).record<ForkHeader>();
        m_data = slice(fork, header.dataOffset, header.dataLength, "resource data");
        m_map = slice(fork, header.mapOffset, header.mapLength, "resource map");
        m_mapOrigin = header.mapOffset;
        m_dataOrigin = header.dataOffset;
        m_dataBudget = m_data.size();
        m_referenceBudget = m_map.size() / sizeof(Reference);
    }

    std::vector<Resource> read()
    {
        m_header = at(0).record<MapHeader>();
        ByteReader types = at(m_header.typeListOffset);
        const unsigned typeCount = (types.u16() + 1u) & 0xFFFF;
        for (unsigned i = 0; i < typeCount; ++i)
            readType(types.record<TypeEntry>());
        return std::move(m_found);
    }

private:
    ByteReader at(std::size_t position) const
    {
        ByteReader in(m_map, m_mapOrigin);
        in.seek(position);
        return in;
    }

    void readType(const TypeEntry& entry)
    {
        ByteReader references = at(std::size_t{m_header.typeListOffset} + entry.references);
        for (unsigned i = 0; i <= entry.lastIndex; ++i) {
            if (m_referenceBudget-- == 0)
                references.fail("more resources than the map can hold");
            readResource(entry.type, references.record<Reference>());
        }
    }

    void readResource(ResourceType type, const Reference& reference)
    {
        ByteReader data(m_data, m_dataOrigin);
        data.seek(reference.place & 0xFFFFFF);
        const uint32_t length = data.u32();
        if (length > m_dataBudget)
            data.fail("resources overlap");
        m_dataBudget -= length;
        const auto value = data.take(length);
        m_found.push_back({type, reference.id, nameAt(reference.nameOffset),
            static_cast<uint8_t>(reference.place >> 24), {value.begin(), value.end()}});
    }

    std::optional<std::string> nameAt(uint16_t offset) const
    {
        if (offset == noName)
            return std::nullopt;
        ByteReader name = at(std::size_t{m_header.nameListOffset} + offset);
        return name.text(name.u8());
    }

    std::span<const std::byte> m_data, m_map;
    uint64_t m_dataOrigin = 0, m_mapOrigin = 0;
    MapHeader m_header{};
    std::size_t m_dataBudget = 0, m_referenceBudget = 0;
    std::vector<Resource> m_found;
};

uint16_t mapOffset(std::size_t value)
{
    if (value > UINT16_MAX)
        throw FormatError("too many resources for one map");
    return static_cast<uint16_t>(value);
}

/// The same resources with those of one type side by side.
std::vector<const Resource*> grouped(std::span<const Resource> resources)
{
    std::vector<ResourceType> order;
    std::vector<const Resource*> sorted;
    for (const Resource& resource : resources) {
        if (std::find(order.begin(), order.end(), resource.type) == order.end())
            order.push_back(resource.type);
        sorted.push_back(&resource);
    }
    const auto rank = [&order](const Resource* resource) {
        return std::find(order.begin(), order.end(), resource->type) - order.begin();
    };
    std::stable_sort(sorted.begin(), sorted.end(),
        [&rank](const Resource* a, const Resource* b) { return rank(a) < rank(b); });
    return sorted;
}

/// The three tables behind the map's header, filled side by side.
class MapWriter {
public:
    void add(const Resource& resource, std::size_t dataOffset)
    {
        if (dataOffset > 0xFFFFFF)
            throw FormatError("more than 16 MiB of resources");
        if (m_types.empty() || m_types.back().type != resource.type)
            m_types.push_back({resource.type, 0, static_cast<uint32_t>(m_references.size())});
        ++m_types.back().count;
        Reference reference{resource.id, noName,
            uint32_t{resource.attributes} << 24 | static_cast<uint32_t>(dataOffset), 0};
        if (resource.name) {
            if (resource.name->size() > 255)
                throw FormatError("a resource's name has more than 255 bytes");
            reference.nameOffset = mapOffset(m_names.size());
            m_names.u8(static_cast<uint8_t>(resource.name->size()));
            m_names.text(*resource.name);
        }
        m_references.push_back(reference);
    }

    std::vector<std::byte> finish() const
    {
        const std::size_t typeList = 2 + m_types.size() * sizeof(TypeEntry);
        const std::size_t tables = typeList + m_references.size() * sizeof(Reference);
        ByteWriter out;
        MapHeader header{};
        header.typeListOffset = sizeof(MapHeader);
        header.nameListOffset = mapOffset(sizeof(MapHeader) + tables);
        out.record(header);
        out.u16(static_cast<uint16_t>(m_types.size() - 1));
        for (const Type& type : m_types)
            out.record(TypeEntry{type.type, mapOffset(type.count - 1),
                mapOffset(typeList + type.first * sizeof(Reference))});
        for (const Reference& reference : m_references)
            out.record(reference);
        out.raw(m_names.bytes());
        return out.take();
    }

private:
    struct Type {
        ResourceType type;
        std::size_t count, first;
    };
    std::vector<Type> m_types;
    std::vector<Reference> m_references;
    ByteWriter m_names;
};

} // namespace

std::vector<Resource> readResourceFork(std::span<const std::byte> fork)
{
    if (fork.empty())
        return {};
    return MapReader(fork).read();
}

std::vector<std::byte> writeResourceFork(std::span<const Resource> resources)
{
    ByteWriter data;
    MapWriter map;
    for (const Resource* resource : grouped(resources)) {
        map.add(*resource, data.size());
        data.u32(static_cast<uint32_t>(resource->data.size()));
        data.raw(resource->data);
    }
    const auto mapBytes = map.finish();
    const auto dataLength = static_cast<uint32_t>(data.size());
    const ForkHeader header{
        dataStart, dataStart + dataLength, dataLength, static_cast<uint32_t>(mapBytes.size())};
    ByteWriter out;
    out.record(header);
    out.padTo(dataStart);
    out.raw(data.bytes());
    out.record(header);
    out.raw(std::span(mapBytes).subspan(sizeof(ForkHeader)));
    return out.take();
}

std::vector<std::byte> fillerFork()
{
    auto fork = writeResourceFork({});
    std::ranges::copy(std::as_bytes(std::span(fillerText)), fork.begin() + sizeof(ForkHeader));
    return fork;
}

bool isFillerFork(std::span<const std::byte> fork)
{
    return fork.size() == dataStart + sizeof(MapHeader) + 2
        && std::ranges::equal(fork.subspan(sizeof(ForkHeader), fillerText.size()),
            std::as_bytes(std::span(fillerText)));
}

} // namespace macfile
