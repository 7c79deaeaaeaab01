#include "hfsplus/FolderScan.h"

#include "bytes/OrderedPipeline.h"
#include "hfsplus/Names.h"

#include <algorithm>

namespace hfsplus {

namespace fs = std::filesystem;

namespace {

/// A list of complaints that nobody reads to its end.
constexpr std::size_t maximumProblems = 100;
/// Folders that a thread lists at a time: handing over takes as long as listing a small one.
constexpr std::size_t batchSize = 16;

} // namespace

FolderScan::FolderScan(const fs::path& folder, uint64_t largestInline)
    : m_root(folder)
    , m_largestInline(largestInline)
{
    FolderListing::Child root = rootOfScan(m_root.string(), largestInline);
    m_objects.push_back(root.object);
    keepMetadata(m_objects.front(), std::move(root.metadata));
    std::vector<Folder> level{{0, m_root.string()}};
    while (!level.empty())
        level = scanLevel(level);
    if (!m_problems.empty())
        throw SourceError(std::move(m_problems));
    dropSingleLinks();
}

fs::path FolderScan::path(uint32_t index) const
{
    if (index == 0)
        return m_root;
    const ScannedObject& object = m_objects[index];
    return path(object.parent) / hostName(object);
}

std::u16string FolderScan::name(const ScannedObject& object) const
{
    return nameFromHost(hostName(object));
}

const ScannedMetadata* FolderScan::metadata(const ScannedObject& object) const
{
    return object.metadata == ScannedObject::none ? nullptr : &m_metadata[object.metadata];
}

std::string_view FolderScan::hostName(const ScannedObject& object) const
{
    return std::string_view(m_names).substr(object.nameStart, object.nameLength);
}

std::vector<FolderScan::Folder> FolderScan::scanLevel(const std::vector<Folder>& level)
{
    std::vector<Folder> next;
    const auto batchAt = [&level](uint64_t job) {
        return std::span(level)
            .subspan(job * batchSize)
            .first(std::min(batchSize, level.size() - job * batchSize));
    };
    const auto list = [this, &batchAt](uint64_t job) {
        std::vector<FolderListing> listings;
        for (const Folder& folder : batchAt(job))
            listings.push_back(FolderListing::of(folder.path, folder.index == 0, m_largestInline));
        return listings;
    };
    bytes::OrderedPipeline(0).run((level.size() + batchSize - 1) / batchSize, [&] { return list; },
        [&](uint64_t job, std::vector<FolderListing> listings) {
            for (std::size_t i = 0; i < listings.size(); ++i)
                add(batchAt(job)[i], std::move(listings[i]), next);
        });
    return next;
}

void FolderScan::add(const Folder& folder, FolderListing listing, std::vector<Folder>& next)
{
    report(std::move(listing.problems));
    // Where a folder has attributes too, both were read together.
    if (m_objects[folder.index].metadata == ScannedObject::none)
        keepMetadata(m_objects[folder.index], std::move(listing.ownMetadata));
    m_objects[folder.index].firstChild = static_cast<uint32_t>(m_objects.size());
    for (FolderListing::Child& child : listing.children) {
        std::string path = folder.path + '/' + child.hostName;
        if (m_names.size() > UINT32_MAX - child.hostName.size()) {
            report({{std::move(path), "the folder holds too many files"}});
            continue;
        }
        const auto index = static_cast<uint32_t>(m_objects.size());
        child.object.parent = folder.index;
        child.object.nameStart = static_cast<uint32_t>(m_names.size());
        child.object.nameLength = static_cast<uint16_t>(child.hostName.size());
        keepMetadata(child.object, std::move(child.metadata));
        m_names += child.hostName;
        m_objects.push_back(child.object);
        ++m_objects[folder.index].childCount;
        if (child.identity)
            noteLink(*child.identity);
        if (child.object.isFolder())
            next.push_back({index, std::move(path)});
    }
}

void FolderScan::keepMetadata(ScannedObject& object, std::optional<ScannedMetadata> metadata)
{
    if (!metadata)
        return;
    object.metadata = static_cast<uint32_t>(m_metadata.size());
    m_metadata.push_back(*std::move(metadata));
}

void FolderScan::noteLink(const FolderListing::FileIdentity& identity)
{
    const auto index = static_cast<uint32_t>(m_objects.size() - 1);
    const auto [entry, isNew] =
        m_groupOfFile.try_emplace(identity, static_cast<uint32_t>(m_linkGroups.size()));
    if (isNew)
        m_linkGroups.emplace_back();
    m_linkGroups[entry->second].push_back(index);
}

/// A file whose other names lie outside of the folder is a plain file here.
void FolderScan::dropSingleLinks()
{
    std::erase_if(m_linkGroups, [](const auto& group) { return group.size() < 2; });
    const auto hasFork = [this](uint32_t index) {
        const ScannedMetadata* found = metadata(m_objects[index]);
        return found != nullptr && found->resourceForkSize > 0;
    };
    for (uint32_t i = 0; i < m_linkGroups.size(); ++i) {
        // The file is read through its first name, and a companion lies beside one of them only.
        std::stable_partition(m_linkGroups[i].begin(), m_linkGroups[i].end(), hasFork);
        for (const uint32_t index : m_linkGroups[i])
            m_objects[index].linkGroup = i;
    }
    m_groupOfFile.clear();
}

void FolderScan::report(std::vector<SourceError::Problem> problems)
{
    for (SourceError::Problem& problem : problems) {
        if (m_problems.size() < maximumProblems)
            m_problems.push_back(std::move(problem));
    }
}

} // namespace hfsplus
