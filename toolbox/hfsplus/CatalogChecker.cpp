#include "hfsplus/CatalogChecker.h"

#include "bytes/ByteReader.h"
#include "bytes/FormatError.h"
#include "hfsplus/Names.h"

#include <set>

namespace hfsplus {

namespace {

constexpr uint16_t typeMask = 0170000, folderType = 0040000, symlinkMode = 0120000,
                   regularType = 0100000;
/// Types that a file's mode may have: pipe, character device, block device, file, link, socket.
constexpr uint16_t fileTypes[] = {0010000, 0020000, 0060000, regularType, symlinkMode, 0140000};
constexpr std::size_t deepestPath = 512;
constexpr std::size_t longestDescription = 300; // bytes of a path; each entry's is put together

} // namespace

CatalogChecker::CatalogChecker(const VolumeHeader& header, ForkChecker& forks, Findings& findings)
    : m_header(header)
    , m_forks(forks)
    , m_findings(findings)
{ }

void CatalogChecker::add(const TreeRecord& record)
{
    bytes::ByteReader key(record.key, record.dataOffset - record.key.size());
    const bytes::ByteReader::Mark start = key.mark();
    const uint16_t length = key.u16();
    const CatalogID parent = key.u32();
    std::u16string name = key.utf16(key.u16());
    key.expectConsumed(start, 2U + length, "a catalog key");
    const uint16_t type = bytes::ByteReader(record.data, record.dataOffset).u16();
    switch (type) {
    case folderRecord:
    case fileRecord:
        addItem(parent, std::move(name), record.data, type == folderRecord);
        return;
    case folderThreadRecord:
    case fileThreadRecord:
        addThread(parent, name, record.data);
        return;
    default:
        m_findings.add("catalog tree: node " + std::to_string(record.node)
            + ": a record of the unknown type " + std::to_string(type));
    }
}

void CatalogChecker::addItem(
    CatalogID parent, std::u16string name, std::span<const std::byte> data, bool isFolder)
{
    Item item;
    item.parent = parent;
    item.name = std::move(name);
    item.isFolder = isFolder;
    const std::size_t expected = isFolder ? sizeof(CatalogFolder) : sizeof(CatalogFile);
    if (data.size() != expected) {
        m_findings.add("a record of \"" + hostFromName(item.name) + "\" has the wrong length");
        return;
    }
    CatalogID id = 0;
    if (isFolder) {
        item.folder = bytes::recordAt<CatalogFolder>(data);
        id = item.folder.folderID;
    } else {
        item.file = bytes::recordAt<CatalogFile>(data);
        id = item.file.fileID;
    }
    if (parent == rootFolderID && isFolder && item.name == privateFolderName)
        m_privateFolder = id;
    if (!isFolder && isHardLink(item.file))
        m_links[item.file.permissions.special].push_back(id);
    if (!m_items.emplace(id, std::move(item)).second)
        m_findings.add("catalog ID " + std::to_string(id) + " is used twice");
}

void CatalogChecker::addThread(
    CatalogID id, const std::u16string& keyName, std::span<const std::byte> data)
{
    bytes::ByteReader in(data);
    const auto head = in.record<CatalogThread>();
    const std::string who = "thread record of id " + std::to_string(id);
    m_findings.expect(keyName.empty(), who + " has a name in its key");
    Thread thread{head.recordType == folderThreadRecord, head.parentID, in.utf16(head.nameUnits)};
    m_findings.expect(in.atEnd(), who + " has the wrong length");
    if (!m_threads.emplace(id, std::move(thread)).second)
        m_findings.add(who + " occurs twice");
}

const CatalogChecker::Item* CatalogChecker::find(CatalogID id) const
{
    const auto found = m_items.find(id);
    return found == m_items.end() ? nullptr : &found->second;
}

std::string CatalogChecker::describe(CatalogID id) const
{
    std::string path;
    for (const Item* item = find(id); item && item->parent != rootParentID;
         item = find(item->parent)) {
        if (path.size() > longestDescription) {
            path = "..." + path;
            break;
        }
        path = "/" + hostFromName(item->name) + path;
    }
    return (path.empty() ? "/" : path) + " (id = " + std::to_string(id) + ")";
}

void CatalogChecker::check()
{
    checkRoot();
    for (const auto& [id, item] : m_items)
        if (const auto parent = m_items.find(item.parent); parent != m_items.end()) {
            ++parent->second.children;
            parent->second.folders += item.isFolder ? 1 : 0;
        }
    for (const auto& [id, item] : m_items) {
        if (m_findings.isFull())
            return;
        checkItem(id, item);
    }
    for (const auto& [id, thread] : m_threads)
        m_findings.expect(find(id) != nullptr,
            "incorrect number of thread records: none of the entries has id " + std::to_string(id));
    for (const auto& [id, count] : m_attributes)
        m_findings.expect(
            find(id) != nullptr, "an attribute belongs to the missing id " + std::to_string(id));
    checkHardLinks();
    checkCounts();
}

void CatalogChecker::checkRoot()
{
    const Item* root = find(rootFolderID);
    if (!root || !root->isFolder || root->parent != rootParentID)
        m_findings.add("the catalog has no root folder");
}

void CatalogChecker::checkItem(CatalogID id, const Item& item)
{
    const std::string who = describe(id);
    m_findings.expect(
        id >= firstUserID || id == rootFolderID, who + ": invalid file or directory ID found");
    m_findings.expect(id < m_header.nextCatalogID,
        who + ": its ID isn't below the volume's next one, "
            + std::to_string(m_header.nextCatalogID));
    checkName(item, who);
    checkThread(id, item, who);
    checkHierarchy(id, who);
    if (item.isFolder)
        checkFolder(item, who);
    else
        checkFile(id, item, who);
}

void CatalogChecker::checkName(const Item& item, const std::string& who)
{
    m_findings.expect(!item.name.empty() && item.name.size() <= maximumNameUnits,
        who + ": its name is empty or too long");
    m_findings.expect(item.name != u"." && item.name != u"..", who + ": no file may have its name");
    m_findings.expect(decomposed(item.name) == item.name, who + ": its name is not decomposed");
    m_findings.expect(
        item.name.find(u':') == item.name.npos, who + ": its name has a ':' on the disk");
}

void CatalogChecker::checkThread(CatalogID id, const Item& item, const std::string& who)
{
    const auto found = m_threads.find(id);
    if (found == m_threads.end()) {
        m_findings.add(who + ": missing thread record");
        return;
    }
    const Thread& thread = found->second;
    m_findings.expect(thread.isFolder == item.isFolder, who + ": its thread is of the wrong type");
    m_findings.expect(thread.parent == item.parent,
        who + ": its thread names the parent " + std::to_string(thread.parent) + " instead of "
            + std::to_string(item.parent));
    m_findings.expect(thread.name == item.name, who + ": its thread has another name");
}

void CatalogChecker::checkHierarchy(CatalogID id, const std::string& who)
{
    const Item* item = find(id);
    if (id == rootFolderID)
        return;
    const Item* parent = find(item->parent);
    m_findings.expect(parent && parent->isFolder, who + ": its parent is no folder of the volume");
    std::size_t steps = 0;
    while (item && item->parent != rootParentID && ++steps <= deepestPath)
        item = find(item->parent);
    m_findings.expect(!item || steps <= deepestPath, who + ": its parents run in circles");
}

void CatalogChecker::checkFolder(const Item& item, const std::string& who)
{
    const CatalogFolder& folder = item.folder;
    m_findings.expect(
        (folder.flags & recordThreadExists) == 0, who + ": a folder has the thread flag of files");
    m_findings.expect(folder.valence == item.children,
        who + ": invalid directory item count " + std::to_string(folder.valence) + ", should be "
            + std::to_string(item.children));
    const bool counts = (folder.flags & recordHasFolderCount) != 0;
    m_findings.expect(counts == (m_header.signature == signatureHFSX),
        who + ": the flag of folder counts is wrong for this kind of volume");
    m_findings.expect(
        folder.folderCount == (counts ? item.folders : 0), who + ": its folder count is wrong");
    const uint16_t mode = folder.permissions.fileMode;
    m_findings.expect(
        mode == 0 || (mode & typeMask) == folderType, who + ": invalid BSD file type for a folder");
    checkDates(folder.dates, who);
    checkAttributeFlag(folder.folderID, folder.flags, who);
}

void CatalogChecker::checkDates(const RecordDates& dates, const std::string& who)
{
    m_findings.prefer(dates.create != 0 && dates.contentMod != 0,
        who + ": it has no date of creation or of its last change");
}

void CatalogChecker::checkAttributeFlag(CatalogID id, uint16_t flags, const std::string& who)
{
    const bool flagged = (flags & recordHasAttributes) != 0;
    m_findings.expect(flagged == m_attributes.contains(id),
        who + ": incorrect number of extended attributes: "
            + (flagged ? "flagged, but it has none" : "it has some, but no flag"));
}

bool CatalogChecker::isInode(const Item& item) const
{
    return m_privateFolder != 0 && item.parent == m_privateFolder;
}

void CatalogChecker::checkFile(CatalogID id, const Item& item, const std::string& who)
{
    const CatalogFile& file = item.file;
    m_findings.prefer(
        (file.flags & recordThreadExists) != 0, who + ": a file lacks the thread flag");
    const uint16_t mode = file.permissions.fileMode, type = mode & typeMask;
    m_findings.expect(mode == 0 || std::ranges::find(fileTypes, type) != std::end(fileTypes),
        who + ": invalid BSD file type for a file");
    m_forks.check(id, dataForkType, file.dataFork, who);
    m_forks.check(id, resourceForkType, file.resourceFork, who + ", resource fork");
    const bool ordinary = type == regularType && !isHardLink(file) && !isInode(item);
    m_findings.expect(
        !ordinary || file.permissions.special <= 1, who + ": file has incorrect number of links");
    checkSymlink(file, who);
    checkDates(file.dates, who);
    checkAttributeFlag(id, file.flags, who);
}

void CatalogChecker::checkSymlink(const CatalogFile& file, const std::string& who)
{
    const bool byMode = (file.permissions.fileMode & typeMask) == symlinkMode;
    const bool byType = hasTypeAndCreator(file, symlinkType, symlinkCreator);
    // A Mac goes by the mode.
    m_findings.prefer(byMode == byType,
        who + ": its mode and its Finder type disagree about being a symbolic link");
    const uint64_t size = file.dataFork.logicalSize;
    m_findings.expect(!byMode || (size > 0 && size <= maximumLinkTarget),
        who + ": a symbolic link's target has no valid length");
}

void CatalogChecker::checkHardLinks()
{
    const Item* root = find(rootFolderID);
    std::set<std::string> inodes;
    for (const auto& [id, item] : m_items)
        if (isInode(item))
            inodes.insert(hostFromName(item.name));
    for (const auto& [number, links] : m_links) {
        for (const CatalogID id : links) {
            const CatalogFile& link = find(id)->file;
            m_findings.expect(root && link.dates.create == root->folder.dates.create,
                describe(id) + ": bad hard link creation date");
            m_findings.prefer((link.flags & recordHasLinkChain) != 0,
                describe(id) + ": a hard link lacks its flag");
        }
        m_findings.expect(inodes.contains("iNode" + std::to_string(number)),
            describe(links.front()) + ": the hard link's file is missing");
    }
    for (const auto& [id, item] : m_items)
        if (!item.isFolder && isInode(item))
            checkChain(id, item);
}

void CatalogChecker::checkChain(CatalogID inode, const Item& item)
{
    const std::string name = hostFromName(item.name);
    if (!name.starts_with("iNode"))
        return;
    const std::string who = describe(inode);
    const auto number = static_cast<uint32_t>(std::strtoul(name.c_str() + 5, nullptr, 10));
    const auto links = m_links.find(number);
    const std::size_t count = links == m_links.end() ? 0 : links->second.size();
    m_findings.expect(item.file.permissions.special == count,
        who + ": file has incorrect number of links: "
            + std::to_string(item.file.permissions.special) + ", should be "
            + std::to_string(count));
    std::size_t seen = 0;
    CatalogID before = 0;
    for (CatalogID at = item.file.reserved1; at != 0 && seen <= count; ++seen) {
        const Item* link = find(at);
        if (!link || link->isFolder || !isHardLink(link->file)
            || link->file.permissions.special != number || link->file.permissions.ownerID != before)
            break;
        before = at;
        at = link->file.permissions.groupID;
    }
    // Systems other than a Mac, and the first Macs with hard links, make no chains.
    if (seen != count)
        m_findings.add(who + ": the chain of its hard links is broken",
            (item.file.flags & recordHasLinkChain) != 0);
}

void CatalogChecker::checkCounts()
{
    uint32_t files = 0, folders = 0;
    for (const auto& [id, item] : m_items)
        ++(item.isFolder ? folders : files);
    folders -= folders > 0 ? 1 : 0;
    m_findings.expect(files == m_header.fileCount,
        "invalid volume file count " + std::to_string(m_header.fileCount) + ", should be "
            + std::to_string(files));
    m_findings.expect(folders == m_header.folderCount,
        "invalid volume directory count " + std::to_string(m_header.folderCount) + ", should be "
            + std::to_string(folders));
}

} // namespace hfsplus
