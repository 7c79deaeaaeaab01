#include "finder/AliasRecord.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"
#include "bytes/FormatError.h"
#include "bytes/Unicode.h"
#include "finder/MacRoman.h"
#include "hfsplus/NameForms.h"

#include <algorithm>
#include <cstring>

namespace finder {

using bytes::be16;
using bytes::be32;
using bytes::ByteReader;
using bytes::ByteWriter;
using bytes::FormatError;

namespace {

constexpr uint16_t version = 2;
constexpr uint16_t anyLevel = 0xFFFF;

enum Tag : uint16_t {
    folderNameTag = 0,
    folderIDsTag = 1,
    carbonPathTag = 2,
    targetNameTag = 14,
    volumeNameTag = 15,
    volumeCreatedTag = 16,
    targetCreatedTag = 17,
    pathTag = 18,
    mountPointTag = 19,
    endTag = 0xFFFF,
};

template <std::size_t size>
using PascalText = std::array<uint8_t, size>; // a length byte, then so many bytes

struct FixedPart {
    be32 application;
    be16 recordSize, version, kind;
    PascalText<28> volumeName;
    be32 volumeCreated;
    std::array<char, 2> fileSystem;
    be16 diskType;
    be32 parentID;
    PascalText<64> targetName;
    be32 targetID, targetCreated, type, creator;
    be16 levelsFrom, levelsTo;
    be32 volumeAttributes;
    std::array<char, 2> fileSystemID;
    std::array<uint8_t, 10> reserved;
};
static_assert(sizeof(FixedPart) == 150 && bytes::isStoredRecord<FixedPart>);

std::u16string units(const std::string& text)
{
    if (auto found = bytes::utf16FromUtf8(text))
        return *found;
    throw FormatError("a name for an alias that is not UTF-8");
}

std::string swapped(std::string text, char from, char to)
{
    std::ranges::replace(text, from, to);
    return text;
}

/// For the fields that predate Unicode; the tags with UTF-16 and paths carry the truth.
std::string shortText(const std::string& text)
{
    return macRomanFromUtf16(hfsplus::composed(units(text)));
}

std::string fromShortText(const std::string& text)
{
    return bytes::utf8FromUtf16(utf16FromMacRoman(text));
}

template <std::size_t size>
PascalText<size> pascalText(const std::string& text)
{
    const std::string stored = shortText(text).substr(0, size - 1);
    PascalText<size> out{};
    out[0] = static_cast<uint8_t>(stored.size());
    std::ranges::copy(stored, out.begin() + 1);
    return out;
}

template <std::size_t size>
std::string fromPascalText(const PascalText<size>& text)
{
    if (text[0] >= size)
        throw FormatError("a name in an alias is longer than its field");
    return fromShortText(std::string(text.begin() + 1, text.begin() + 1 + text[0]));
}

class TagWriter {
public:
    explicit TagWriter(ByteWriter& out)
        : m_out(out)
    { }

    void put(Tag tag, std::span<const std::byte> value)
    {
        if (value.size() > UINT16_MAX)
            throw FormatError("a name or path is too long for an alias");
        m_out.u16(tag);
        m_out.u16(static_cast<uint16_t>(value.size()));
        m_out.raw(value);
        m_out.zeros(value.size() % 2);
    }
    void text(Tag tag, const std::string& value) { put(tag, std::as_bytes(std::span(value))); }
    void name(Tag tag, const std::string& value)
    {
        const std::u16string stored = hfsplus::decomposed(units(value));
        ByteWriter out;
        out.u16(static_cast<uint16_t>(stored.size()));
        out.utf16(stored);
        put(tag, out.bytes());
    }
    void date(Tag tag, const std::optional<uint64_t>& value)
    {
        if (!value)
            return;
        ByteWriter out;
        out.u64(*value);
        put(tag, out.bytes());
    }

private:
    ByteWriter& m_out;
};

void writeTags(ByteWriter& out, const AliasRecord& alias)
{
    TagWriter tags(out);
    tags.text(folderNameTag, shortText(alias.folderName));
    tags.date(volumeCreatedTag, alias.volumeCreatedUTC);
    tags.date(targetCreatedTag, alias.targetCreatedUTC);
    if (!alias.folderIDs.empty()) {
        ByteWriter ids;
        for (const uint32_t id : alias.folderIDs)
            ids.u32(id);
        tags.put(folderIDsTag, ids.bytes());
    }
    tags.text(carbonPathTag, shortText(alias.carbonPath));
    tags.name(targetNameTag, alias.targetName);
    tags.name(volumeNameTag, alias.volumeName);
    tags.text(pathTag, alias.path);
    tags.text(mountPointTag, alias.mountPoint);
    out.u16(endTag);
    out.u16(0);
}

std::vector<uint32_t> readIDs(ByteReader& in)
{
    std::vector<uint32_t> ids;
    while (!in.atEnd())
        ids.push_back(in.u32());
    return ids;
}

std::string readName(ByteReader& in)
{
    return bytes::utf8FromUtf16(in.utf16(in.u16()));
}

void readTag(uint16_t tag, ByteReader in, AliasRecord& alias)
{
    switch (tag) {
    case folderNameTag:
        alias.folderName = fromShortText(in.text(in.remaining()));
        break;
    case folderIDsTag:
        alias.folderIDs = readIDs(in);
        break;
    case carbonPathTag:
        alias.carbonPath = fromShortText(in.text(in.remaining()));
        break;
    case targetNameTag:
        alias.targetName = readName(in);
        break;
    case volumeNameTag:
        alias.volumeName = readName(in);
        break;
    case volumeCreatedTag:
        alias.volumeCreatedUTC = in.u64();
        break;
    case targetCreatedTag:
        alias.targetCreatedUTC = in.u64();
        break;
    case pathTag:
        alias.path = in.text(in.remaining());
        break;
    case mountPointTag:
        alias.mountPoint = in.text(in.remaining());
        break;
    default:
        break;
    }
}

} // namespace

AliasRecord aliasTo(const AliasTarget& target)
{
    std::vector<std::string> names; // of the folders above, then the target's
    for (std::size_t at = 0; at < target.path.size();) {
        const std::size_t end = std::min(target.path.find('/', at), target.path.size());
        if (end > at)
            names.push_back(swapped(target.path.substr(at, end - at), ':', '/'));
        at = end + 1;
    }
    if (names.empty())
        throw FormatError("an alias needs a path on its volume");

    AliasRecord alias;
    alias.volumeName = target.volumeName;
    alias.volumeCreated = target.volumeCreated;
    alias.targetName = names.back();
    const auto zone = static_cast<uint32_t>(target.zone);
    alias.targetCreated = target.created + zone;
    if (target.id) {
        alias.targetID = *target.id;
        alias.folderIDs = target.folderIDs;
        alias.parentID =
            target.folderIDs.empty() ? AliasRecord::rootFolderID : target.folderIDs.front();
    }
    alias.folderName = names.size() > 1 ? names[names.size() - 2] : target.volumeName;
    alias.volumeCreatedUTC = uint64_t{target.volumeCreated - zone} << 16;
    alias.targetCreatedUTC = uint64_t{target.created} << 16;
    alias.carbonPath = target.volumeName + ':';
    for (std::size_t i = 0; i + 1 < names.size(); ++i)
        alias.carbonPath += names[i] + ':';
    alias.carbonPath += '\0' + names.back();
    alias.path = target.path;
    alias.mountPoint = "/Volumes/" + swapped(target.volumeName, '/', ':');
    return alias;
}

std::vector<std::byte> writeAlias(const AliasRecord& alias)
{
    ByteWriter tags;
    writeTags(tags, alias);
    const std::size_t size = sizeof(FixedPart) + tags.size();
    if (size > UINT16_MAX)
        throw FormatError("an alias of more than 64 KiB");
    FixedPart fixed{};
    fixed.recordSize = static_cast<uint16_t>(size);
    fixed.version = version;
    fixed.kind = alias.folder ? 1 : 0;
    fixed.volumeName = pascalText<28>(alias.volumeName);
    fixed.volumeCreated = alias.volumeCreated;
    fixed.fileSystem = alias.fileSystem;
    fixed.diskType = alias.diskType;
    fixed.parentID = alias.parentID;
    fixed.targetName = pascalText<64>(alias.targetName);
    fixed.targetID = alias.targetID;
    fixed.targetCreated = alias.targetCreated;
    fixed.levelsFrom = anyLevel;
    fixed.levelsTo = anyLevel;
    fixed.volumeAttributes = alias.volumeAttributes;
    fixed.fileSystemID = alias.fileSystemID;
    ByteWriter out;
    out.record(fixed);
    out.raw(tags.bytes());
    return out.take();
}

AliasRecord readAlias(std::span<const std::byte> raw)
{
    ByteReader whole(raw);
    const auto fixed = whole.record<FixedPart>();
    if (fixed.version != version || fixed.kind > 1)
        throw FormatError("no alias record of version 2", 6);
    if (fixed.recordSize < sizeof(FixedPart) || fixed.recordSize > raw.size())
        throw FormatError("an alias says it has " + std::to_string(fixed.recordSize) + " bytes", 4);
    AliasRecord alias;
    alias.folder = fixed.kind == 1;
    alias.volumeName = fromPascalText(fixed.volumeName);
    alias.volumeCreated = fixed.volumeCreated;
    alias.fileSystem = fixed.fileSystem;
    alias.diskType = fixed.diskType;
    alias.parentID = fixed.parentID;
    alias.targetName = fromPascalText(fixed.targetName);
    alias.targetID = fixed.targetID;
    alias.targetCreated = fixed.targetCreated;
    alias.volumeAttributes = fixed.volumeAttributes;
    alias.fileSystemID = fixed.fileSystemID;

    ByteReader tags(raw.first(fixed.recordSize));
    tags.skip(sizeof(FixedPart));
    for (uint16_t tag = tags.u16(); tag != endTag; tag = tags.u16()) {
        const std::size_t length = tags.u16();
        readTag(tag, ByteReader(tags.take(length), tags.offset()), alias);
        tags.skip(length % 2);
    }
    return alias;
}

} // namespace finder
