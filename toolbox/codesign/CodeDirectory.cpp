#include "codesign/CodeDirectory.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"
#include "bytes/FormatError.h"

#include <algorithm>
#include <cassert>
#include <cctype>
#include <stdexcept>

namespace codesign {

using bytes::be32;
using bytes::be64;
using bytes::ByteReader;
using bytes::ByteWriter;
using bytes::FormatError;

namespace {

constexpr uint32_t versionEarliest = 0x20001;
constexpr uint32_t versionScatter = 0x20100;
constexpr uint32_t versionTeam = 0x20200;
constexpr uint32_t versionLimit64 = 0x20300;
constexpr uint32_t versionExecutable = 0x20400;
constexpr uint32_t versionRuntime = 0x20500;
constexpr uint32_t versionLatest = 0x2F000;

constexpr std::size_t shortHash = 20;
/// Highest special slot that any signer uses, with room to spare.
constexpr uint32_t mostSpecialSlots = 64;

/// Every field in the order in which versions added them; a version's header ends where the next
/// one's fields begin.
struct Header {
    be32 magic, length;
    be32 version, flags;
    be32 hashOffset, identifierOffset;
    be32 specialSlots, codeSlots, codeLimit;
    uint8_t hashSize = 0, hashType = 0, platform = 0, pageExponent = 0;
    be32 spare2;
    be32 scatterOffset; // 0x20100
    be32 teamOffset; // 0x20200
    be32 spare3; // 0x20300
    be64 codeLimit64;
    be64 executableBase, executableLimit, executableFlags; // 0x20400
    be32 runtime, preEncryptOffset; // 0x20500
};
static_assert(sizeof(Header) == 96 && bytes::isStoredRecord<Header>);

std::size_t headerSize(uint32_t version)
{
    if (version >= versionRuntime)
        return 96;
    if (version >= versionExecutable)
        return 88;
    if (version >= versionLimit64)
        return 64;
    if (version >= versionTeam)
        return 52;
    return version >= versionScatter ? 48 : 44;
}

std::string textAt(std::span<const std::byte> blob, uint32_t offset)
{
    if (offset >= blob.size())
        throw FormatError("a text of the code directory leaves it", offset);
    const auto rest = blob.subspan(offset);
    const auto end = std::ranges::find(rest, std::byte{0});
    if (end == rest.end())
        throw FormatError("a text of the code directory does not end", offset);
    return {
        reinterpret_cast<const char*>(rest.data()), static_cast<std::size_t>(end - rest.begin())};
}

/// The header with all fields that its version lacks as zeros.
Header readHeader(std::span<const std::byte> blob)
{
    ByteReader in(blob);
    in.skip(8);
    const uint32_t version = in.u32();
    if (version < versionEarliest || version > versionLatest)
        throw FormatError("a code directory of version " + std::to_string(version), 8);
    std::vector<std::byte> raw(sizeof(Header));
    in.seek(0);
    std::ranges::copy(in.take(headerSize(version)), raw.begin());
    return bytes::recordAt<Header>(raw);
}

void checkHeader(const Header& header, std::size_t blobSize)
{
    if (!isHashType(header.hashType)
        || header.hashSize != sizeOf(static_cast<HashType>(header.hashType)))
        throw FormatError("a code directory with an unknown hash", 36);
    if (header.scatterOffset != 0)
        throw FormatError("a code directory with a scatter list", 44);
    if (header.pageExponent > 30)
        throw FormatError("a code directory with impossible pages", 39);
    const uint64_t before = uint64_t{header.specialSlots} * header.hashSize;
    const uint64_t behind = uint64_t{header.codeSlots} * header.hashSize;
    if (header.specialSlots > mostSpecialSlots || header.hashOffset > blobSize
        || header.hashOffset < before + headerSize(header.version)
        || blobSize - header.hashOffset < behind)
        throw FormatError("the hashes leave the code directory", 16);
}

struct FlagName {
    uint32_t bit;
    const char* name;
    bool settable;
};

constexpr FlagName flagNames[] = {
    {flagHost, "host", true},
    {flagAdhoc, "adhoc", false},
    {flagHard, "hard", true},
    {flagKill, "kill", true},
    {flagExpires, "expires", true},
    {flagRestrict, "restrict", true},
    {flagEnforcement, "enforcement", true},
    {flagLibraryValidation, "library-validation", true},
    {flagRuntime, "runtime", true},
    {flagLinkerSigned, "linker-signed", true},
};

uint32_t flagNamed(const std::string& name)
{
    uint32_t found = 0;
    int matches = 0;
    for (const FlagName& flag : flagNames) {
        if (!flag.settable)
            continue;
        if (name == flag.name)
            return flag.bit;
        if (!name.empty() && std::string_view(flag.name).starts_with(name)) {
            found = flag.bit;
            ++matches;
        }
    }
    if (matches != 1)
        throw std::invalid_argument(name);
    return found;
}

} // namespace

std::string flagsText(uint32_t flags)
{
    std::string names;
    uint32_t left = flags;
    const auto add = [&names](const char* name) {
        if (!names.empty())
            names += ',';
        names += name;
    };
    for (const FlagName& flag : flagNames) {
        if ((flags & flag.bit) != 0)
            add(flag.name);
        left &= ~flag.bit;
    }
    if (left != 0)
        add("???");
    ByteWriter number;
    number.u32(flags);
    std::string hex = hexOf(number.bytes());
    hex.erase(0, std::min(hex.find_first_not_of('0'), hex.size() - 1));
    return "0x" + hex + "(" + (names.empty() ? "none" : names) + ")";
}

uint32_t flagsFrom(const std::string& list)
{
    if (!list.empty() && std::isdigit(static_cast<unsigned char>(list[0])) != 0) {
        std::size_t used = 0;
        const unsigned long number = std::stoul(list, &used, 0);
        if (used != list.size() || number > UINT32_MAX)
            throw std::invalid_argument(list);
        return static_cast<uint32_t>(number);
    }
    uint32_t flags = 0;
    std::size_t begin = 0;
    while (begin <= list.size()) {
        const std::size_t end = std::min(list.find(',', begin), list.size());
        flags |= flagNamed(list.substr(begin, end - begin));
        begin = end + 1;
    }
    return flags;
}

CodeDirectory CodeDirectory::read(std::span<const std::byte> blob)
{
    blobContent(blob, Magic::codeDirectory);
    const Header header = readHeader(blob);
    checkHeader(header, blob.size());

    CodeDirectory directory;
    directory.readVersion = header.version;
    directory.flags = header.flags;
    directory.identifier = textAt(blob, header.identifierOffset);
    if (header.teamOffset != 0)
        directory.team = textAt(blob, header.teamOffset);
    directory.hashType = static_cast<HashType>(header.hashType);
    directory.platform = header.platform;
    directory.pageExponent = header.pageExponent;
    directory.codeLimit =
        header.codeLimit64 != 0 ? header.codeLimit64.value() : header.codeLimit.value();
    directory.executableBase = header.executableBase;
    directory.executableLimit = header.executableLimit;
    directory.executableFlags = header.executableFlags;
    directory.runtime = header.runtime;

    const std::size_t size = header.hashSize;
    for (uint32_t slot = 1; slot <= header.specialSlots; ++slot) {
        const auto raw = blob.subspan(header.hashOffset - slot * size, size);
        if (std::ranges::any_of(raw, [](std::byte byte) { return byte != std::byte{0}; }))
            directory.specials.emplace(slot, Digest(raw.begin(), raw.end()));
    }
    const auto hashes = blob.subspan(header.hashOffset, header.codeSlots * size);
    directory.codeHashes.assign(hashes.begin(), hashes.end());

    const uint64_t page = directory.pageSize();
    const uint64_t expected = page == 0
        ? (header.codeSlots == 0 ? 0 : 1)
        : directory.codeLimit / page + (directory.codeLimit % page != 0 ? 1 : 0);
    if (header.codeSlots != expected)
        throw FormatError("the number of code hashes does not fit the code", 28);
    return directory;
}

uint32_t CodeDirectory::version() const
{
    if (readVersion != 0)
        return readVersion;
    if (runtime != 0)
        return versionRuntime;
    if (executableLimit > 0)
        return versionExecutable;
    if (codeLimit > UINT32_MAX)
        return versionLimit64;
    return team.empty() ? versionScatter : versionTeam;
}

uint32_t CodeDirectory::specialSlots() const
{
    return specials.empty() ? 0 : specials.rbegin()->first;
}

Blob CodeDirectory::write() const
{
    CodeDirectory fresh = *this;
    fresh.readVersion = 0;
    const uint32_t chosen = fresh.version();
    const std::size_t hashSize = sizeOf(hashType);

    Header header;
    header.magic = static_cast<uint32_t>(Magic::codeDirectory);
    header.version = chosen;
    header.flags = flags;
    header.specialSlots = specialSlots();
    header.codeSlots = static_cast<uint32_t>(codeSlots());
    header.hashSize = static_cast<uint8_t>(hashSize);
    header.hashType = static_cast<uint8_t>(hashType);
    header.platform = platform;
    header.pageExponent = pageExponent;
    const bool wide = codeLimit > UINT32_MAX;
    header.codeLimit = wide ? UINT32_MAX : static_cast<uint32_t>(codeLimit);
    header.codeLimit64 = wide ? codeLimit : 0;
    header.executableBase = executableBase;
    header.executableLimit = executableLimit;
    header.executableFlags = executableFlags;
    header.runtime = runtime;

    std::size_t at = headerSize(chosen);
    header.identifierOffset = static_cast<uint32_t>(at);
    at += identifier.size() + 1;
    if (!team.empty()) {
        header.teamOffset = static_cast<uint32_t>(at);
        at += team.size() + 1;
    }
    header.hashOffset = static_cast<uint32_t>(at + specialSlots() * hashSize);
    header.length = static_cast<uint32_t>(header.hashOffset + codeHashes.size());

    ByteWriter out;
    out.raw(bytes::recordBytes(header).first(headerSize(chosen)));
    out.text(identifier);
    out.u8(0);
    if (!team.empty()) {
        out.text(team);
        out.u8(0);
    }
    for (uint32_t slot = specialSlots(); slot > 0; --slot) {
        const auto found = specials.find(slot);
        assert(found == specials.end() || found->second.size() == hashSize);
        if (found == specials.end())
            out.zeros(hashSize);
        else
            out.raw(found->second);
    }
    out.raw(codeHashes);
    return out.take();
}

std::span<const std::byte> CodeDirectory::codeHash(std::size_t slot) const
{
    return std::span(codeHashes).subspan(slot * sizeOf(hashType), sizeOf(hashType));
}

const Digest* CodeDirectory::special(Slot slot) const
{
    const auto found = specials.find(static_cast<uint32_t>(slot));
    return found == specials.end() ? nullptr : &found->second;
}

Digest fullCodeHash(std::span<const std::byte> blob, HashType type)
{
    return digestOf(type, blob);
}

Digest shortCodeHash(std::span<const std::byte> blob, HashType type)
{
    Digest digest = digestOf(type, blob);
    digest.resize(shortHash);
    return digest;
}

} // namespace codesign
