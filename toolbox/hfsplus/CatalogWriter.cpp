#include "hfsplus/CatalogWriter.h"

#include "bytes/ByteWriter.h"
#include "hfsplus/Names.h"
#include "hfsplus/TreeRecords.h"
#include "macfile/FinderInfo.h"

#include <algorithm>
#include <utility>

namespace hfsplus {

namespace {

constexpr int16_t privateFolderPlace = 0x4000; // out of any window's sight
constexpr uint8_t immutableOwnerFlag = 2;
constexpr uint16_t linkMode = 0100444, privateFolderMode = 0040000;
/// What a Mac gives its own links; the host's 0777 says nothing.
constexpr uint16_t symlinkMode = 0120755;

std::u16string linkedFileName(CatalogID id)
{
    std::u16string name = u"iNode";
    for (const char digit : std::to_string(id))
        name += static_cast<char16_t>(digit);
    return name;
}

template <typename Record>
void setFinderInfo(Record& record, const macfile::FinderInfo& info)
{
    std::ranges::copy(bytes::recordBytes(info), record.finderInfo.begin());
}

} // namespace

CatalogWriter::CatalogWriter(const ContentPlan& plan, const VolumeLayout& layout,
    std::u16string volumeName, std::optional<uint32_t> latestDate)
    : m_plan(plan)
    , m_scan(plan.scan())
    , m_layout(layout)
    , m_volumeName(std::move(volumeName))
    , m_latestDate(latestDate.value_or(UINT32_MAX))
{ }

void CatalogWriter::writeTo(BTreeBuilder& tree)
{
    m_tree = &tree;
    addObject(0, rootParentID, m_volumeName);
    const auto objects = m_scan.objects();
    for (uint32_t index = 0; index < objects.size(); ++index) {
        const ScannedObject& object = objects[index];
        const CatalogID parent = index == 0 ? rootParentID : m_plan.idOf(object.parent);
        addThread(m_plan.idOf(index), object.isFolder(), parent,
            index == 0 ? m_volumeName : m_scan.name(object));
        if (object.isFolder())
            addChildren(index);
    }
    if (m_plan.hasHardLinks())
        addPrivateFiles();
    m_tree = nullptr;
}

void CatalogWriter::addChildren(uint32_t folder)
{
    const ScannedObject& object = m_scan.objects()[folder];
    bool privateFolderDue = folder == 0 && m_plan.hasHardLinks();
    for (uint32_t i = 0; i < object.childCount; ++i) {
        const uint32_t child = object.firstChild + i;
        const std::u16string name = m_scan.name(m_scan.objects()[child]);
        if (privateFolderDue && compareNames(privateFolderName, name) < 0) {
            addPrivateFolder();
            privateFolderDue = false;
        }
        if (m_scan.objects()[child].linkGroup == ScannedObject::none)
            addObject(child, m_plan.idOf(folder), name);
        else
            addLink(child, m_plan.idOf(folder), name);
    }
    if (privateFolderDue)
        addPrivateFolder();
}

void CatalogWriter::addObject(uint32_t index, CatalogID parent, std::u16string_view name)
{
    if (m_scan.objects()[index].isFolder())
        add(parent, name, bytes::recordBytes(folderFor(index)));
    else
        add(parent, name, bytes::recordBytes(fileFor(index)));
}

/// A name that leads to a file in the private folder. The names of a file form a chain in both
/// directions, and their creation date is the root's, by which systems know a genuine link.
void CatalogWriter::addLink(uint32_t index, CatalogID parent, std::u16string_view name)
{
    const ScannedObject& object = m_scan.objects()[index];
    const auto& group = m_scan.linkGroups()[object.linkGroup];
    const auto self = std::ranges::find(group, index);
    CatalogFile link{};
    link.recordType = fileRecord;
    link.flags = static_cast<uint16_t>(recordThreadExists | recordHasLinkChain);
    link.fileID = m_plan.idOf(index);
    link.dates = datesOf(object);
    link.dates.create = datesOf(m_scan.objects()[0]).create;
    link.permissions.ownerID = self == group.begin() ? 0 : m_plan.idOf(*std::prev(self));
    link.permissions.groupID = std::next(self) == group.end() ? 0 : m_plan.idOf(*std::next(self));
    link.permissions.ownerFlags = immutableOwnerFlag;
    link.permissions.fileMode = linkMode;
    link.permissions.special = m_plan.linkedFileID(object.linkGroup);
    macfile::FinderInfo info{};
    info.type = hardLinkType;
    info.creator = hardLinkCreator;
    info.flags = macfile::finderFlag::inited;
    setFinderInfo(link, info);
    add(parent, name, bytes::recordBytes(link));
}

void CatalogWriter::addPrivateFolder()
{
    CatalogFolder folder{};
    folder.recordType = folderRecord;
    folder.valence = static_cast<uint32_t>(m_scan.linkGroups().size());
    folder.folderID = m_plan.privateFolderID();
    folder.dates = datesOf(m_scan.objects()[0]);
    folder.permissions.ownerFlags = immutableOwnerFlag;
    folder.permissions.fileMode = privateFolderMode;
    folder.permissions.special = uint32_t{1};
    macfile::FinderInfo info{};
    info.flags =
        static_cast<uint16_t>(macfile::finderFlag::invisible | macfile::finderFlag::nameLocked);
    info.vertical = info.horizontal = privateFolderPlace;
    setFinderInfo(folder, info);
    add(rootFolderID, privateFolderName, bytes::recordBytes(folder));
}

void CatalogWriter::addPrivateFiles()
{
    const CatalogID folder = m_plan.privateFolderID();
    addThread(folder, true, rootFolderID, privateFolderName);

    const auto groups = m_scan.linkGroups();
    std::vector<std::pair<std::u16string, uint32_t>> names; // "iNode100" precedes "iNode99"
    for (uint32_t group = 0; group < groups.size(); ++group)
        names.emplace_back(linkedFileName(m_plan.linkedFileID(group)), group);
    std::ranges::sort(names);
    for (const auto& [name, group] : names) {
        CatalogFile file = fileFor(groups[group].front());
        file.flags = static_cast<uint16_t>(file.flags | recordHasLinkChain);
        file.reserved1 = m_plan.idOf(groups[group].front());
        file.fileID = m_plan.linkedFileID(group);
        file.permissions.special = static_cast<uint32_t>(groups[group].size());
        add(folder, name, bytes::recordBytes(file));
    }
    for (uint32_t group = 0; group < groups.size(); ++group) {
        const CatalogID id = m_plan.linkedFileID(group);
        addThread(id, false, folder, linkedFileName(id));
    }
}

void CatalogWriter::addThread(
    CatalogID id, bool isFolder, CatalogID parent, std::u16string_view name)
{
    CatalogThread thread{};
    thread.recordType = isFolder ? folderThreadRecord : fileThreadRecord;
    thread.parentID = parent;
    thread.nameUnits = static_cast<uint16_t>(name.size());
    bytes::ByteWriter record;
    record.record(thread);
    record.utf16(name);
    add(id, {}, record.bytes());
}

void CatalogWriter::add(CatalogID parent, std::u16string_view name, std::span<const std::byte> data)
{
    CatalogKeyHead head;
    head.keyLength = static_cast<uint16_t>(sizeof head - 2 + 2 * name.size());
    head.parentID = parent;
    head.nameUnits = static_cast<uint16_t>(name.size());
    bytes::ByteWriter key;
    key.record(head);
    key.utf16(name);
    m_tree->add(key.bytes(), data);
}

CatalogFolder CatalogWriter::folderFor(uint32_t index) const
{
    const ScannedObject& object = m_scan.objects()[index];
    CatalogFolder folder{};
    folder.recordType = folderRecord;
    folder.flags = attributeFlag(object);
    folder.valence = object.childCount + (index == 0 && m_plan.hasHardLinks() ? 1 : 0);
    folder.folderID = m_plan.idOf(index);
    folder.dates = datesOf(object);
    folder.permissions.ownerID = object.owner;
    folder.permissions.groupID = object.group;
    folder.permissions.fileMode = object.mode;
    folder.permissions.special = uint32_t{index == 0 ? 0U : 1U};
    if (const ScannedMetadata* metadata = m_scan.metadata(object))
        folder.finderInfo = metadata->finderInfo;
    return folder;
}

CatalogFile CatalogWriter::fileFor(uint32_t index) const
{
    const ScannedObject& object = m_scan.objects()[index];
    CatalogFile file{};
    file.recordType = fileRecord;
    file.flags = static_cast<uint16_t>(recordThreadExists | attributeFlag(object));
    file.fileID = m_plan.idOf(index);
    file.dates = datesOf(object);
    file.permissions.ownerID = object.owner;
    file.permissions.groupID = object.group;
    file.permissions.fileMode = object.isSymlink() ? symlinkMode : object.mode;
    file.permissions.special = uint32_t{1};
    if (const ScannedMetadata* metadata = m_scan.metadata(object))
        file.finderInfo = metadata->finderInfo;
    if (object.isSymlink()) {
        auto info = bytes::recordAt<macfile::FinderInfo>(file.finderInfo);
        info.type = symlinkType;
        info.creator = symlinkCreator;
        setFinderInfo(file, info);
    }
    m_plan.eachFork(index, [&](const ContentPlan::Fork& fork) {
        const ForkData place = m_layout.fork(fork.size, m_layout.content.start + fork.firstBlock);
        if (fork.kind == ContentPlan::Fork::Kind::data)
            file.dataFork = place;
        else if (fork.kind == ContentPlan::Fork::Kind::resource)
            file.resourceFork = place;
    });
    return file;
}

/// Where dates are limited, those that differ from copy to copy of one file give way to the date
/// of its content, so that equal folders make equal volumes.
RecordDates CatalogWriter::datesOf(const ScannedObject& object) const
{
    if (m_latestDate != UINT32_MAX) {
        const uint32_t date = std::min(object.modified, m_latestDate);
        return {
            .create = date, .contentMod = date, .attributeMod = date, .access = date, .backup = 0};
    }
    return {.create = object.created,
        .contentMod = object.modified,
        .attributeMod = object.changed,
        .access = object.accessed,
        .backup = 0};
}

uint16_t CatalogWriter::attributeFlag(const ScannedObject& object) const
{
    const ScannedMetadata* metadata = m_scan.metadata(object);
    return metadata != nullptr && !metadata->attributes.empty() ? recordHasAttributes : uint16_t{0};
}

} // namespace hfsplus
