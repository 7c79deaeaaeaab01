#include "hfsplus/LayoutPlan.h"

#include "bytes/FormatError.h"
#include "hfsplus/HostFolder.h"

#include <algorithm>
#include <climits>

namespace hfsplus {

using bytes::FormatError;

namespace {

/// Paths are kept in memory, and each may be as long as thousands of its names: without a bound an
/// image of a megabyte takes gigabytes. Volumes have some 100 bytes of path an entry.
constexpr uint64_t largestPaths = uint64_t{256} << 20;

} // namespace

LayoutPlan::LayoutPlan(const Volume& volume)
    : m_volume(volume)
{
    folders.push_back({.path = {}, .id = rootFolderID, .kind = EntryKind::folder});
    countBlocks(volume.root());
    volume.visit([this](const std::string& path, const Entry& entry) { add(path, entry); });
}

void LayoutPlan::add(const std::string& path, const Entry& entry)
{
    const std::string_view name = nameOf(path);
    if (name.empty() || name == "." || name == ".." || name.find('\0') != name.npos)
        throw FormatError("an entry has a name that no file can have: \"" + path + "\"");
    m_pathBytes += path.size();
    if (m_pathBytes > largestPaths)
        throw FormatError("the paths of the volume's entries take too much memory");
    if (!isShown(path, entry))
        return;
    Item item{.path = path, .id = entry.id, .kind = entry.kind};
    if (entry.kind == EntryKind::folder) {
        countBlocks(entry);
        folders.push_back(std::move(item));
        return;
    }
    if (entry.isHardLink()) {
        const auto [first, isFirst] = m_firstLinks.emplace(entry.contentID, entry.id);
        if (!isFirst) {
            item.linkTo = first->second;
            hardLinks.push_back(std::move(item));
            return;
        }
    }
    countBlocks(entry);
    if (entry.kind == EntryKind::symlink)
        ++links;
    (name.starts_with("._") ? lateFiles : files).push_back(std::move(item));
}

/// A Mac's name of 255 units may take 765 bytes. What has metadata may need a name with two bytes
/// more beside it.
bool LayoutPlan::fitsHost(const std::string& path, const Entry& entry) const
{
    const bool mayNeedCompanion = entry.kind != EntryKind::folder
        && (entry.resourceFork.logicalSize != 0 || !m_volume.attributes(entry.contentID).empty());
    return nameOf(path).size() + (mayNeedCompanion ? 2 : 0) <= NAME_MAX;
}

bool LayoutPlan::isShown(const std::string& path, const Entry& entry)
{
    if (!m_leftOutFolder.empty() && path.starts_with(m_leftOutFolder))
        return false;
    if (!fitsHost(path, entry)) {
        skipped.push_back(path + ": its name is too long for this system; left out");
        if (entry.kind == EntryKind::folder)
            m_leftOutFolder = path + "/";
        return false;
    }
    if (entry.kind == EntryKind::special) {
        skipped.push_back(path + ": neither file, folder nor symbolic link; left out");
        return false;
    }
    const auto marksCompression = [](const AttributeTable::Value& value) {
        return value.name == u"com.apple.decmpfs";
    };
    if (entry.kind == EntryKind::file
        && (entry.isCompressed()
            || std::ranges::any_of(m_volume.attributes(entry.contentID), marksCompression))) {
        skipped.push_back(
            path + ": compressed by the file system, which is not supported; left out");
        return false;
    }
    return true;
}

/// Sound volumes have one user for each block. One whose files share blocks could fill the host's
/// disk many times over.
void LayoutPlan::countBlocks(const Entry& entry)
{
    blocks += uint64_t{entry.dataFork.totalBlocks} + entry.resourceFork.totalBlocks;
    for (const AttributeTable::Value& value : m_volume.attributes(entry.contentID))
        blocks += value.totalBlocks;
    if (blocks > m_volume.header().totalBlocks)
        throw FormatError("the volume's files have more blocks than the volume");
    dataBytes += entry.dataFork.logicalSize;
}

mode_t hostMode(const Entry& entry)
{
    const mode_t recorded = entry.permissions.fileMode & 0777;
    const bool folder = entry.kind == EntryKind::folder;
    if (entry.permissions.fileMode == 0)
        return folder ? 0755 : 0644;
    return recorded | (folder ? 0700 : 0400);
}

int64_t hostSeconds(uint32_t date)
{
    return int64_t{date} - macEpochOffset;
}

} // namespace hfsplus
