#include "hfsplus/FolderScan.h"

#include "bytes/Unicode.h"
#include "hfsplus/CatalogRecords.h"
#include "hfsplus/Dates.h"
#include "hfsplus/Names.h"
#include "hfsplus/TreeRecords.h"
#include "macfile/Metadata.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <system_error>
#include <unistd.h>

namespace hfsplus {

namespace fs = std::filesystem;

namespace {

/// A list of complaints that nobody reads to its end.
constexpr std::size_t maximumProblems = 100;
constexpr std::size_t maximumTarget = 1023; // bytes of a link's target, as a Mac allows

struct CloseDirectory {
    void operator()(DIR* stream) const { ::closedir(stream); }
};
using DirectoryStream = std::unique_ptr<DIR, CloseDirectory>;

DirectoryStream openFolder(const fs::path& path, bool followLink)
{
    const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | (followLink ? 0 : O_NOFOLLOW);
    const int descriptor = ::open(path.c_str(), flags);
    if (descriptor < 0)
        throw SourceError(path, reasonFor(errno));
    DirectoryStream stream(::fdopendir(descriptor));
    if (!stream) {
        const int error = errno;
        ::close(descriptor);
        throw SourceError(path, reasonFor(error));
    }
    return stream;
}

std::vector<std::string> namesIn(DIR* stream, const fs::path& path)
{
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = ::readdir(stream)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            names.emplace_back(name);
        errno = 0;
    }
    if (errno != 0)
        throw SourceError(path, reasonFor(errno));
    return names;
}

struct statx statusOf(int folder, const char* name, int flags, const fs::path& path)
{
    struct statx status { };
    if (::statx(folder, name, flags, STATX_BASIC_STATS | STATX_BTIME, &status) != 0)
        throw SourceError(path, reasonFor(errno));
    return status;
}

ScannedObject objectFrom(const struct statx& status)
{
    ScannedObject object;
    object.mode = status.stx_mode;
    object.owner = status.stx_uid;
    object.group = status.stx_gid;
    object.modified = macDate(status.stx_mtime.tv_sec);
    object.changed = macDate(status.stx_ctime.tv_sec);
    object.accessed = macDate(status.stx_atime.tv_sec);
    // A copied file is born after its last change on this host; a Mac shows the older date.
    object.created = object.modified;
    if ((status.stx_mask & STATX_BTIME) != 0)
        object.created = std::min(object.modified, macDate(status.stx_btime.tv_sec));
    if (S_ISREG(status.stx_mode))
        object.size = status.stx_size;
    return object;
}

uint64_t targetLength(int folder, const std::string& name, const fs::path& path)
{
    char target[maximumTarget + 1];
    const ssize_t length = ::readlinkat(folder, name.c_str(), target, sizeof target);
    if (length < 0)
        throw SourceError(path, reasonFor(errno));
    if (length > static_cast<ssize_t>(maximumTarget))
        throw SourceError(path, "the link's target is too long");
    return static_cast<uint64_t>(length);
}

/// Where everybody may read, nobody needs to be asked.
bool isReadable(int folder, const std::string& name, const ScannedObject& object)
{
    return object.isSymlink() || (object.mode & 0444) == 0444
        || ::faccessat(folder, name.c_str(), R_OK, AT_EACCESS) == 0;
}

bool isPrivateName(std::u16string_view name)
{
    return compareNames(name, privateFolderName) == 0
        || compareNames(name, privateDirectoryName) == 0;
}

} // namespace

/// A folder while it is scanned.
struct FolderScan::Listing {
    struct Child {
        std::u16string name;
        std::string hostName;
    };

    fs::path path;
    DirectoryStream stream;
    std::vector<Child> children; // in the catalog's order
    std::vector<std::string> companions; // names of AppleDouble files, sorted

    int descriptor() const { return ::dirfd(stream.get()); }
    bool hasCompanion(const std::string& hostName) const
    {
        return std::binary_search(companions.begin(), companions.end(), "._" + hostName);
    }
};

FolderScan::FolderScan(const fs::path& folder, uint64_t largestInline)
    : m_root(folder)
    , m_largestInline(largestInline)
{
    const struct statx status = statusOf(AT_FDCWD, m_root.c_str(), 0, m_root);
    if (!S_ISDIR(status.stx_mode))
        throw SourceError(m_root, reasonFor(ENOTDIR));
    m_objects.push_back(objectFrom(status));
    addMetadata(m_objects.front(), m_root);
    for (uint32_t index = 0; index < m_objects.size(); ++index) {
        if (!m_objects[index].isFolder())
            continue;
        try {
            scanFolder(index);
        } catch (const SourceError& error) {
            report(error.problems().front().path, error.problems().front().reason);
        }
    }
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

void FolderScan::scanFolder(uint32_t index)
{
    Listing folder;
    folder.path = path(index);
    folder.stream = openFolder(folder.path, index == 0);
    for (std::string& hostName : namesIn(folder.stream.get(), folder.path)) {
        if (hostName.starts_with("._") && macfile::isCompanion(folder.path / hostName)) {
            // The folder's own; where it has attributes too, both were read together.
            if (hostName == "._." && m_objects[index].metadata == ScannedObject::none)
                addMetadata(m_objects[index], folder.path);
            folder.companions.push_back(std::move(hostName));
            continue;
        }
        try {
            folder.children.push_back({nameFromHost(hostName), hostName});
        } catch (const std::system_error& error) {
            report(folder.path / hostName, error.code().message());
        }
    }
    std::ranges::sort(folder.companions);
    std::ranges::sort(folder.children, [](const Listing::Child& a, const Listing::Child& b) {
        const auto order = compareNames(a.name, b.name);
        return order != 0 ? order < 0 : a.hostName < b.hostName;
    });

    const auto first = static_cast<uint32_t>(m_objects.size());
    const Listing::Child* before = nullptr;
    for (const Listing::Child& child : folder.children) {
        if (before != nullptr && compareNames(before->name, child.name) == 0)
            report(folder.path / child.hostName,
                "its name and \"" + before->hostName + "\" are the same on a Mac volume");
        else if (index == 0 && isPrivateName(child.name))
            report(folder.path / child.hostName, "the volume keeps this name for itself");
        else
            addChild(folder, index, child.hostName);
        before = &child;
    }
    m_objects[index].firstChild = first;
    m_objects[index].childCount = static_cast<uint32_t>(m_objects.size()) - first;
}

void FolderScan::addChild(const Listing& folder, uint32_t parent, const std::string& hostName)
try {
    const fs::path path = folder.path / hostName;
    const struct statx status = statusOf(
        folder.descriptor(), hostName.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, path);
    ScannedObject object = objectFrom(status);
    if (object.isSymlink())
        object.size = targetLength(folder.descriptor(), hostName, path);
    else if (!S_ISREG(object.mode) && !S_ISDIR(object.mode))
        throw SourceError(path, "sockets, pipes and devices can't be copied");
    if (!isReadable(folder.descriptor(), hostName, object))
        throw SourceError(path, reasonFor(EACCES));
    if (m_names.size() > UINT32_MAX - hostName.size())
        throw SourceError(path, "the folder holds too many files");

    object.parent = parent;
    object.nameStart = static_cast<uint32_t>(m_names.size());
    object.nameLength = static_cast<uint16_t>(hostName.size());
    // One call tells most files from those that have metadata at all.
    if (folder.hasCompanion(hostName) || ::llistxattr(path.c_str(), nullptr, 0) > 0)
        addMetadata(object, path);
    m_names += hostName;
    m_objects.push_back(object);
    if (S_ISREG(object.mode) && status.stx_nlink > 1)
        noteLink({uint64_t{status.stx_dev_major} << 32 | status.stx_dev_minor, status.stx_ino});
} catch (const SourceError& error) {
    report(error.problems().front().path, error.problems().front().reason);
}

void FolderScan::addMetadata(ScannedObject& object, const fs::path& path)
try {
    macfile::Metadata source = macfile::readMetadata(path);
    if (source.empty())
        return;
    ScannedMetadata metadata;
    metadata.finderInfo = source.finderInfo;
    // Folders and links have no resource fork.
    if (!object.isFolder() && !object.isSymlink())
        metadata.resourceForkSize = source.resourceFork.size();
    for (auto& [name, value] : source.attributes) {
        // The system's own, such as access control lists that mean nothing elsewhere.
        const auto units = bytes::utf16FromUtf8(name);
        if (name.starts_with("com.apple.system.") || !units || units->empty()
            || units->size() > maximumAttributeNameUnits)
            continue;
        ScannedAttribute attribute{.name = *units, .size = value.size(), .value = {}};
        if (value.size() <= m_largestInline)
            attribute.value = std::move(value);
        metadata.attributes.push_back(std::move(attribute));
    }
    std::ranges::sort(metadata.attributes, {}, &ScannedAttribute::name);
    object.metadata = static_cast<uint32_t>(m_metadata.size());
    m_metadata.push_back(std::move(metadata));
} catch (const std::system_error& error) {
    throw SourceError(path, error.code().message());
}

void FolderScan::noteLink(const FileIdentity& identity)
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

void FolderScan::report(fs::path path, std::string reason)
{
    if (m_problems.size() < maximumProblems)
        m_problems.push_back({std::move(path), std::move(reason)});
}

} // namespace hfsplus
