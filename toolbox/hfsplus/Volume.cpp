#include "hfsplus/Volume.h"

#include "bytes/FormatError.h"
#include "hfsplus/Names.h"

#include <algorithm>
#include <bit>
#include <charconv>

namespace hfsplus {

namespace {

using bytes::FormatError;
/// What the system keeps in the root folder for itself.
constexpr std::u16string_view privateNames[] = {
    privateFolderName, privateDirectoryName, u".journal", u".journal_info_block"};
constexpr std::u16string_view inodePrefix = u"iNode";
constexpr uint64_t largestLinkTarget = 4095;

bool isVolumeHeader(const VolumeHeader& header, uint64_t sourceBytes)
{
    const bool known = (header.signature == signatureHFSPlus && header.version == versionHFSPlus)
        || (header.signature == signatureHFSX && header.version == versionHFSX);
    const uint32_t blockSize = header.blockSize;
    return known && blockSize >= sectorSize && std::has_single_bit(blockSize)
        && header.totalBlocks != 0 && sourceBytes / blockSize >= header.totalBlocks;
}

/// The number in "iNode<number>"; none for any other name.
std::optional<uint32_t> inodeNumber(std::u16string_view name)
{
    if (!name.starts_with(inodePrefix))
        return std::nullopt;
    const std::string digits(name.begin() + inodePrefix.size(), name.end());
    uint32_t number = 0;
    const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool whole = end.ec == std::errc() && end.ptr == digits.data() + digits.size();
    return whole ? std::optional(number) : std::nullopt;
}

EntryKind kindOf(uint16_t mode)
{
    switch (mode & 0170000) {
    case 0: // no permissions recorded
    case 0100000:
        return EntryKind::file;
    case 0120000:
        return EntryKind::symlink;
    default:
        return EntryKind::special;
    }
}

} // namespace

Volume::Volume(const bytes::ByteSource& source)
    : m_source(source)
{
    readHeader();
    readTrees();
    const Catalog::Item* folder = nullptr;
    for (const Catalog::Item& item : m_catalog.children(rootFolderID))
        if (item.folder && m_catalog.name(item) == privateFolderName)
            folder = &item;
    for (const Catalog::Item& item : folder ? m_catalog.children(folder->id) : std::span(folder, 0))
        if (const auto number = item.folder ? std::nullopt : inodeNumber(m_catalog.name(item)))
            m_inodes.emplace(*number, item.id);
}

void Volume::readHeader()
{
    if (m_source.size() < volumeHeaderOffset + sizeof(VolumeHeader))
        throw FormatError("too short for an HFS+ volume", m_source.size());
    const auto headerAt = [this](uint64_t offset) {
        return bytes::recordAt<VolumeHeader>(m_source.read(offset, sizeof(VolumeHeader)));
    };
    m_header = headerAt(volumeHeaderOffset);
    if (isVolumeHeader(m_header, m_source.size()))
        return;
    m_header = headerAt(m_source.size() - alternateHeaderDistance);
    m_usesAlternate = true;
    if (!isVolumeHeader(m_header, m_source.size()))
        throw FormatError("no header of an HFS+ volume", volumeHeaderOffset);
}

void Volume::readTrees()
{
    const uint32_t blocks = m_header.totalBlocks;
    const ForkReader extentsFile(m_source, m_header.blockSize,
        runsOf(m_header.extentsFile.extents, blocks), m_header.extentsFile.logicalSize);
    if (extentsFile.size() > 0)
        BTreeReader(extentsFile, "extents", maximumExtentKey)
            .visitLeaves([this](const TreeRecord& record) { m_overflow.add(record); });

    const ForkReader catalogFile = metadataFork(catalogFileID, m_header.catalogFile);
    const BTreeReader catalog(catalogFile, "catalog", maximumCatalogKey);
    m_caseSensitive =
        m_header.signature == signatureHFSX && catalog.header().keyCompareType == binaryKeys;
    m_catalog = Catalog(catalog);

    const ForkReader attributesFile = metadataFork(attributesFileID, m_header.attributesFile);
    if (attributesFile.size() > 0)
        BTreeReader(attributesFile, "attributes", maximumAttributeKey)
            .visitLeaves([&](const TreeRecord& record) { m_attributes.add(record, blocks); });
}

ForkReader Volume::fork(CatalogID file, uint8_t type, const ForkData& fork) const
{
    return {m_source, m_header.blockSize, m_overflow.runs(file, type, fork, m_header.totalBlocks),
        fork.logicalSize};
}

ForkReader Volume::metadataFork(CatalogID file, const ForkData& fork) const
{
    return this->fork(file, dataForkType, fork);
}

ForkReader Volume::dataFork(const Entry& entry) const
{
    return fork(entry.contentID, dataForkType, entry.dataFork);
}

ForkReader Volume::resourceFork(const Entry& entry) const
{
    return fork(entry.contentID, resourceForkType, entry.resourceFork);
}

std::string Volume::name() const
{
    return volumeNameFromName(m_catalog.name(*m_catalog.find(rootFolderID)));
}

Entry Volume::entryFor(const Catalog::Item& item) const
{
    Entry entry;
    entry.id = entry.contentID = item.id;
    entry.parent = item.parent;
    entry.name = m_catalog.name(item);
    if (item.folder) {
        const CatalogFolder folder = m_catalog.folder(item);
        entry.kind = EntryKind::folder;
        entry.flags = folder.flags;
        entry.dates = folder.dates;
        entry.permissions = folder.permissions;
        entry.finderInfo = folder.finderInfo;
        entry.valence = folder.valence;
        return entry;
    }
    CatalogFile file = m_catalog.file(item);
    if (isHardLink(file)) {
        const auto inode = m_inodes.find(file.permissions.special);
        if (inode == m_inodes.end())
            throw FormatError("hard link " + std::to_string(item.id) + " leads to no file");
        entry.contentID = inode->second;
        file = m_catalog.file(*m_catalog.find(inode->second));
    }
    entry.kind = kindOf(file.permissions.fileMode);
    entry.flags = file.flags;
    entry.dates = file.dates;
    entry.permissions = file.permissions;
    entry.finderInfo = file.finderInfo;
    entry.dataFork = file.dataFork;
    entry.resourceFork = file.resourceFork;
    return entry;
}

bool Volume::isPrivate(const Catalog::Item& item) const
{
    return item.parent == rootFolderID
        && std::ranges::find(privateNames, m_catalog.name(item)) != std::end(privateNames);
}

std::optional<Entry> Volume::entryWithID(CatalogID id) const
{
    const Catalog::Item* item = m_catalog.find(id);
    return item ? std::optional(entryFor(*item)) : std::nullopt;
}

std::vector<Entry> Volume::children(CatalogID folder) const
{
    std::vector<Entry> entries;
    for (const Catalog::Item& item : m_catalog.children(folder))
        if (!isPrivate(item))
            entries.push_back(entryFor(item));
    return entries;
}

std::optional<Entry> Volume::find(std::string_view path) const
{
    const Catalog::Item* at = m_catalog.find(rootFolderID);
    while (at && !path.empty()) {
        const std::string_view part = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(path.size(), part.size() + 1));
        const std::u16string wanted = nameFromHost(part);
        const auto below = at->folder ? m_catalog.children(at->id) : std::span(at, 0);
        const auto found = std::ranges::find_if(below, [&](const Catalog::Item& item) {
            const std::u16string_view name = m_catalog.name(item);
            return m_caseSensitive ? name == wanted : compareNames(name, wanted) == 0;
        });
        at = found == below.end() ? nullptr : &*found;
    }
    return at ? std::optional(entryFor(*at)) : std::nullopt;
}

void Volume::visit(const std::function<void(const std::string&, const Entry&)>& use) const
{
    struct Level {
        std::span<const Catalog::Item> left;
        std::size_t pathBytes;
    };
    // IDs occur once, so what is reached from the root is a tree: no walk runs in circles.
    std::vector<Level> levels{{m_catalog.children(rootFolderID), 0}};
    std::string path;
    while (!levels.empty()) {
        Level& level = levels.back();
        path.resize(level.pathBytes);
        if (level.left.empty()) {
            levels.pop_back();
            continue;
        }
        const Catalog::Item& item = level.left.front();
        level.left = level.left.subspan(1);
        if (isPrivate(item))
            continue;
        if (!path.empty())
            path += '/';
        path += hostFromName(m_catalog.name(item));
        if (path.size() > maximumPath)
            throw FormatError("folders are nested too deeply, near " + path.substr(0, 100));
        use(path, entryFor(item));
        if (item.folder)
            levels.push_back({m_catalog.children(item.id), path.size()});
    }
}

std::string Volume::linkTarget(const Entry& entry) const
{
    const ForkReader fork = dataFork(entry);
    if (fork.size() == 0 || fork.size() > largestLinkTarget)
        throw FormatError("symbolic link " + std::to_string(entry.id) + " has a target of "
            + std::to_string(fork.size()) + " bytes");
    const auto raw = fork.read(0, static_cast<std::size_t>(fork.size()));
    const std::string target(reinterpret_cast<const char*>(raw.data()), raw.size());
    if (target.find('\0') != std::string::npos)
        throw FormatError("symbolic link " + std::to_string(entry.id) + " has a target with NUL");
    return target;
}

std::span<const AttributeTable::Value> Volume::attributes(CatalogID content) const
{
    return m_attributes.of(content);
}

} // namespace hfsplus
