#include "hfsplus/EditSession.h"

#include "bytes/FormatError.h"
#include "bytes/Unicode.h"
#include "bytes/Zeros.h"
#include "hfsplus/Dates.h"
#include "hfsplus/Names.h"
#include "hfsplus/SourceError.h"
#include "hfsplus/SystemMetadata.h"

#include <climits>
#include <ctime>
#include <unistd.h>

namespace hfsplus {

using bytes::FormatError;

namespace {

constexpr int64_t nanosecondsPerSecond = 1'000'000'000;

uint32_t dateOf(int64_t nanoseconds)
{
    return macDate(nanoseconds / nanosecondsPerSecond);
}

FinderInfoBytes symlinkInfo()
{
    FinderInfoBytes info{};
    const be32 type(symlinkType), creator(symlinkCreator);
    std::ranges::copy(bytes::recordBytes(type), info.begin());
    std::ranges::copy(bytes::recordBytes(creator), info.begin() + 4);
    return info;
}

/// What a new folder and a new file have in common.
template <typename Record>
Record newRecord(const HostItem& item, uint32_t latest)
{
    Record record{};
    record.dates.create = record.dates.contentMod = std::min(dateOf(item.facts.modified), latest);
    record.dates.attributeMod = std::min(dateOf(item.facts.changed), latest);
    record.dates.access = std::min(macDate(item.accessed), latest);
    record.permissions.ownerID = item.owner;
    record.permissions.groupID = item.group;
    record.permissions.fileMode = static_cast<uint16_t>(item.facts.mode);
    record.permissions.special = 1;
    return record;
}

std::string targetOf(const HostFolder& host, const std::string& path)
{
    char target[PATH_MAX];
    const HostFolder folder = host.descend(folderOf(path));
    const std::string name(nameOf(path));
    const ssize_t length = ::readlinkat(folder.descriptor(), name.c_str(), target, sizeof target);
    if (length < 0)
        bytes::throwErrno(path);
    if (length > ssize_t{maximumLinkTarget})
        throw SourceError(path, "the link's target is too long");
    return {target, static_cast<std::size_t>(length)};
}

} // namespace

EditSession::EditSession(bytes::ByteDevice& device, const Volume& volume, const HostFolder& host,
    const FolderSnapshot& snapshot, EditOptions options)
    : m_device(device)
    , m_volume(volume)
    , m_host(host)
    , m_snapshot(snapshot)
    , m_now(options.fixedTime.value_or(macDate(std::time(nullptr))))
    , m_latest(options.fixedTime.value_or(UINT32_MAX))
    , m_header(volume.header())
    , m_forks(m_header.blockSize, openAllocator(),
          volume.metadataFork(extentsFileID, m_header.extentsFile))
    , m_catalog(volume.metadataFork(catalogFileID, m_header.catalogFile), m_header,
          volume.isCaseSensitive())
    , m_attributes(volume.metadataFork(attributesFileID, m_header.attributesFile), m_forks,
          m_header.totalBlocks)
{ }

BlockAllocator EditSession::openAllocator()
{
    const uint32_t blockSize = m_header.blockSize, totalBlocks = m_header.totalBlocks;
    const ForkReader file = m_volume.metadataFork(allocationFileID, m_header.allocationFile);
    const uint64_t needed = (uint64_t{totalBlocks} + 7) / 8;
    if (file.size() < needed)
        throw FormatError("the volume's bitmap is too short");
    std::vector<BlockRun> frame;
    const auto fix = [&](uint64_t start, uint64_t end) {
        const auto first = static_cast<uint32_t>(start / blockSize);
        const auto last = static_cast<uint32_t>(
            std::min<uint64_t>((end + blockSize - 1) / blockSize, totalBlocks));
        if (first < last)
            frame.push_back({first, last - first});
    };
    fix(0, volumeHeaderOffset + sizeof(VolumeHeader));
    fix(m_device.size() - alternateHeaderDistance, m_device.size());
    const auto fixFork = [&](CatalogID id, const ForkData& fork) {
        const ForkReader special = m_volume.metadataFork(id, fork);
        frame.insert(frame.end(), special.runs().begin(), special.runs().end());
    };
    fixFork(allocationFileID, m_header.allocationFile);
    fixFork(extentsFileID, m_header.extentsFile);
    fixFork(catalogFileID, m_header.catalogFile);
    fixFork(attributesFileID, m_header.attributesFile);
    m_oldBitmap = file.read(0, static_cast<std::size_t>(needed));
    return {m_oldBitmap, totalBlocks, m_header.nextAllocation, frame};
}

void EditSession::plan(const FolderChanges& changes)
{
    for (const FolderSnapshot::Item* item : changes.removed)
        if (m_catalog.contains(item->id))
            remove(item->id);
    for (const HostItem* item : changes.added)
        add(*item);
    noteNames(changes);
    for (const FolderChanges::Touched& touched : changes.touched)
        update(touched);
    flagAttributes();
    m_catalog.commit(m_header);
    growTree(m_attributes.tree(), attributesFileID, m_header.attributesFile);
    growTree(m_catalog.tree(), catalogFileID, m_header.catalogFile);
    growTree(m_forks.overflow(), extentsFileID, m_header.extentsFile);
}

void EditSession::remove(CatalogID id)
{
    // Folders from the leaves up; on the volume they may hold more than was laid out.
    std::vector<CatalogID> order{id};
    for (std::size_t at = 0; at < order.size(); ++at)
        if (m_catalog.isFolder(order[at]))
            std::ranges::copy(m_catalog.children(order[at]), std::back_inserter(order));
    for (auto each = order.rbegin(); each != order.rend(); ++each)
        removeOne(*each);
    m_report.removed += static_cast<uint32_t>(order.size());
}

void EditSession::removeOne(CatalogID id)
{
    if (!m_catalog.isFolder(id)) {
        const CatalogFile file = m_catalog.file(id);
        if (isHardLink(file))
            unlink(id, file);
        else
            dropForks(id, file);
    }
    m_attributes.remove(id, true);
    m_catalog.remove(id);
}

/// Takes a name out of the chain of names that a file has; the last one takes the file with it.
void EditSession::unlink(CatalogID id, const CatalogFile& link)
{
    const CatalogID content = m_volume.entryWithID(id)->contentID;
    const CatalogID before = link.permissions.ownerID, after = link.permissions.groupID;
    CatalogFile& file = m_catalog.file(content);
    if (file.permissions.special <= 1) {
        dropForks(content, file);
        m_attributes.remove(content, true);
        m_catalog.remove(content);
        return;
    }
    file.permissions.special = file.permissions.special - 1;
    if (file.reserved1 == id)
        file.reserved1 = after;
    if (before != 0 && m_catalog.contains(before))
        m_catalog.file(before).permissions.groupID = after;
    if (after != 0 && m_catalog.contains(after))
        m_catalog.file(after).permissions.ownerID = before;
}

std::vector<BlockRun> EditSession::runsOfFork(
    CatalogID id, uint8_t forkType, const ForkData& fork) const
{
    return m_volume.overflow().runs(id, forkType, fork, m_header.totalBlocks);
}

void EditSession::dropForks(CatalogID id, const CatalogFile& file)
{
    m_forks.drop(id, dataForkType, runsOfFork(id, dataForkType, file.dataFork));
    m_forks.drop(id, resourceForkType, runsOfFork(id, resourceForkType, file.resourceFork));
}

CatalogID EditSession::idOfFolder(std::string_view path) const
{
    if (const auto fresh = m_newFolders.find(std::string(path)); fresh != m_newFolders.end())
        return fresh->second;
    const FolderSnapshot::Item* item = m_snapshot.find(path);
    if (!item || !m_catalog.contains(item->id))
        throw FormatError("the volume has no folder \"" + std::string(path) + "\"");
    return item->id;
}

void EditSession::add(const HostItem& item)
{
    const CatalogID parent = idOfFolder(folderOf(item.path));
    if (item.isFolder())
        addFolder(item, parent);
    else
        addFile(item, parent);
    ++m_report.added;
}

void EditSession::addFolder(const HostItem& item, CatalogID parent)
{
    const CatalogID id = m_catalog.add(
        parent, nameFromHost(nameOf(item.path)), newRecord<CatalogFolder>(item, m_latest));
    m_newFolders.emplace(item.path, id);
    setMetadata(id, m_catalog.folder(id), hostMetadata(item), false);
}

void EditSession::addFile(const HostItem& item, CatalogID parent)
{
    const CatalogID id = m_catalog.add(
        parent, nameFromHost(nameOf(item.path)), newRecord<CatalogFile>(item, m_latest));
    CatalogFile& file = m_catalog.file(id);
    if (item.isSymlink())
        file.finderInfo = symlinkInfo();
    file.dataFork = m_forks.store(id, dataForkType, contentOf(item));
    setMetadata(id, file, hostMetadata(item), item.isSymlink());
}

ForkContent EditSession::contentOf(const HostItem& item) const
{
    if (!item.isSymlink())
        return {.size = item.facts.size, .hostPath = item.path};
    const std::string target = targetOf(m_host, item.path);
    const auto raw = std::as_bytes(std::span(target));
    return {.size = raw.size(), .hostPath = {}, .bytes = {raw.begin(), raw.end()}};
}

macfile::Metadata EditSession::hostMetadata(const HostItem& item) const
{
    if (item.isFolder())
        return macfile::readMetadata(m_host.descend(item.path).pathOf("."));
    const HostFolder folder = m_host.descend(folderOf(item.path));
    return macfile::readMetadata(folder.pathOf(nameOf(item.path)));
}

void EditSession::noteNames(const FolderChanges& changes)
{
    for (const FolderChanges::Touched& touched : changes.touched) {
        const auto entry = m_volume.entryWithID(touched.before->id);
        if (entry && entry->isHardLink())
            m_names[entry->contentID].push_back(touched.now);
    }
}

/// All names of a file share its attributes, but a companion lies beside one of them only.
macfile::Metadata EditSession::metadataOf(const Entry& entry, const HostItem& item) const
{
    macfile::Metadata metadata = hostMetadata(item);
    const auto names = m_names.find(entry.contentID);
    if (names == m_names.end())
        return metadata;
    for (const HostItem* name : names->second) {
        macfile::Metadata other = hostMetadata(*name);
        if (bytes::isZero(metadata.finderInfo))
            metadata.finderInfo = other.finderInfo;
        if (metadata.resourceFork.empty())
            metadata.resourceFork = std::move(other.resourceFork);
        metadata.attributes.merge(other.attributes);
    }
    return metadata;
}

void EditSession::update(const FolderChanges::Touched& touched)
{
    if (!m_catalog.contains(touched.before->id))
        throw FormatError("the volume has no entry for \"" + touched.before->path + "\"");
    const Entry entry = *m_volume.entryWithID(touched.before->id);
    if (!m_updated.insert(entry.contentID).second)
        return; // another name of a file that was brought up to date already
    if (entry.kind == EntryKind::folder)
        updateRecord(m_catalog.folder(entry.contentID), entry, touched);
    else
        updateRecord(m_catalog.file(entry.contentID), entry, touched);
}

template <typename Record>
void EditSession::updateRecord(
    Record& record, const Entry& entry, const FolderChanges::Touched& touched)
{
    const Record old = record;
    const FileFacts &before = touched.before->facts, &now = touched.now->facts;
    if (before.mode != now.mode)
        record.permissions.fileMode =
            static_cast<uint16_t>((old.permissions.fileMode & S_IFMT) | (now.mode & 07777));
    if (before.modified != now.modified)
        record.dates.contentMod = std::min(dateOf(now.modified), m_latest);
    if constexpr (std::is_same_v<Record, CatalogFile>)
        if (!hasSameData(entry, *touched.now))
            updateData(record, entry, *touched.now);
    const auto metadata = metadataOf(entry, *touched.now);
    const bool newMetadata = metadata != m_volume.metadata(entry);
    if (newMetadata)
        setMetadata(entry.contentID, record, metadata, entry.kind == EntryKind::symlink);
    const bool same = std::ranges::equal(bytes::recordBytes(old), bytes::recordBytes(record));
    if (same && !newMetadata)
        return;
    record.dates.attributeMod = m_now;
    ++m_report.changed;
}

bool EditSession::hasSameData(const Entry& entry, const HostItem& item) const
{
    constexpr std::size_t pieceBytes = 1 << 20;
    const ForkReader stored = m_volume.dataFork(entry);
    if (entry.kind == EntryKind::symlink)
        return targetOf(m_host, item.path) == m_volume.linkTarget(entry);
    if (stored.size() != item.facts.size)
        return false;
    const bytes::File file = openHostFile(m_host, item.path);
    for (uint64_t at = 0; at < stored.size(); at += pieceBytes) {
        const auto length =
            static_cast<std::size_t>(std::min<uint64_t>(stored.size() - at, pieceBytes));
        if (stored.read(at, length) != file.read(at, length))
            return false;
    }
    return true;
}

void EditSession::updateData(CatalogFile& file, const Entry& entry, const HostItem& item)
{
    const CatalogID id = entry.contentID;
    m_forks.drop(id, dataForkType, runsOfFork(id, dataForkType, file.dataFork));
    file.dataFork = m_forks.store(id, dataForkType, contentOf(item));
}

template <typename Record>
void EditSession::setMetadata(
    CatalogID id, Record& record, const macfile::Metadata& metadata, bool symlink)
{
    record.finderInfo = storedFinderInfo(metadata.finderInfo, record.finderInfo, symlink);
    if constexpr (std::is_same_v<Record, CatalogFile>) {
        const auto old = runsOfFork(id, resourceForkType, record.resourceFork);
        if (!symlink && !(metadata.resourceFork.empty() && old.empty())) {
            m_forks.drop(id, resourceForkType, old);
            record.resourceFork = m_forks.store(
                id, resourceForkType, {metadata.resourceFork.size(), {}, metadata.resourceFork});
        }
    }
    m_attributes.remove(id, false);
    for (const auto& [name, value] : metadata.attributes)
        if (const auto units = bytes::utf16FromUtf8(name))
            m_attributes.add(id, *units, value);
    m_attributesChanged.insert(id);
}

/// A record says whether the attributes tree knows it.
void EditSession::flagAttributes()
{
    const auto flag = [this](CatalogID id, auto& record) {
        const auto others = static_cast<uint16_t>(record.flags & ~recordHasAttributes);
        record.flags =
            static_cast<uint16_t>(others | (m_attributes.has(id) ? recordHasAttributes : 0));
    };
    for (const CatalogID id : m_attributesChanged) {
        if (m_catalog.isFolder(id))
            flag(id, m_catalog.folder(id));
        else
            flag(id, m_catalog.file(id));
    }
}

} // namespace hfsplus
