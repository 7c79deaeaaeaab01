#include "hfsplus/FolderListing.h"

#include "bytes/Unicode.h"
#include "hfsplus/CatalogRecords.h"
#include "hfsplus/Dates.h"
#include "hfsplus/Names.h"
#include "hfsplus/TreeRecords.h"
#include "macfile/Metadata.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <system_error>
#include <unistd.h>

namespace hfsplus {

namespace {

struct CloseDirectory {
    void operator()(DIR* stream) const { ::closedir(stream); }
};
using DirectoryStream = std::unique_ptr<DIR, CloseDirectory>;

DirectoryStream openFolder(const std::string& path, bool followLink)
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

std::vector<std::string> namesIn(DIR* stream, const std::string& path)
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

struct statx statusOf(int folder, const char* name, int flags, const std::string& path)
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

uint64_t targetLength(int folder, const std::string& name, const std::string& path)
{
    char target[maximumLinkTarget + 1];
    const ssize_t length = ::readlinkat(folder, name.c_str(), target, sizeof target);
    if (length < 0)
        throw SourceError(path, reasonFor(errno));
    if (length > static_cast<ssize_t>(maximumLinkTarget))
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

std::optional<ScannedMetadata> metadataOf(
    const std::string& path, const ScannedObject& object, uint64_t largestInline)
try {
    macfile::Metadata source = macfile::readMetadata(path);
    if (source.empty())
        return std::nullopt;
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
        if (value.size() <= largestInline)
            attribute.value = std::move(value);
        metadata.attributes.push_back(std::move(attribute));
    }
    std::ranges::sort(metadata.attributes, {}, &ScannedAttribute::name);
    return metadata;
} catch (const std::system_error& error) {
    throw SourceError(path, error.code().message());
}

class Lister {
public:
    Lister(const std::string& path, bool isRoot, uint64_t largestInline)
        : m_path(path)
        , m_isRoot(isRoot)
        , m_largestInline(largestInline)
    { }

    FolderListing list();

private:
    using Child = FolderListing::Child;

    std::string pathOf(const std::string& hostName) const { return m_path + '/' + hostName; }
    /// Sorts companions from children.
    void readNames();
    /// Throws SourceError where a volume can't hold the child beside the one before it.
    void checkName(const Child& child, const Child* before) const;
    void examine(Child& child) const;
    const std::string& m_path;
    bool m_isRoot;
    uint64_t m_largestInline;
    DirectoryStream m_stream;
    std::vector<std::string> m_companions; // names of AppleDouble files, sorted
    FolderListing m_listing;
};

FolderListing Lister::list()
try {
    m_stream = openFolder(m_path, m_isRoot);
    readNames();
    const Child* before = nullptr;
    for (Child& child : m_listing.children) {
        try {
            checkName(child, before);
            examine(child);
        } catch (const SourceError& error) {
            m_listing.problems.push_back(error.problems().front());
            child.object.mode = 0;
        }
        before = &child;
    }
    std::erase_if(m_listing.children, [](const Child& child) { return child.object.mode == 0; });
    return std::move(m_listing);
} catch (const SourceError& error) {
    return {.problems = error.problems()};
}

void Lister::readNames()
{
    for (std::string& hostName : namesIn(m_stream.get(), m_path)) {
        if (hostName.starts_with("._") && macfile::isCompanion(pathOf(hostName))) {
            if (hostName == "._.")
                m_listing.ownMetadata = metadataOf(m_path, {.mode = S_IFDIR}, m_largestInline);
            m_companions.push_back(std::move(hostName));
            continue;
        }
        try {
            std::u16string name = nameFromHost(hostName);
            m_listing.children.push_back({std::move(name), std::move(hostName)});
        } catch (const std::system_error& error) {
            m_listing.problems.push_back({pathOf(hostName), error.code().message()});
        }
    }
    std::ranges::sort(m_companions);
    std::ranges::sort(m_listing.children, [](const Child& a, const Child& b) {
        const auto order = compareNames(a.name, b.name);
        return order != 0 ? order < 0 : a.hostName < b.hostName;
    });
}

void Lister::checkName(const Child& child, const Child* before) const
{
    if (before != nullptr && compareNames(before->name, child.name) == 0)
        throw SourceError(pathOf(child.hostName),
            "its name and \"" + before->hostName + "\" are the same on a Mac volume");
    if (m_isRoot && isPrivateName(child.name))
        throw SourceError(pathOf(child.hostName), "the volume keeps this name for itself");
}

void Lister::examine(Child& child) const
{
    const std::string& hostName = child.hostName;
    const std::string path = pathOf(hostName);
    const int folder = ::dirfd(m_stream.get());
    const struct statx status =
        statusOf(folder, hostName.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, path);
    ScannedObject& object = child.object;
    object = objectFrom(status);
    if (object.isSymlink())
        object.size = targetLength(folder, hostName, path);
    else if (!S_ISREG(object.mode) && !S_ISDIR(object.mode))
        throw SourceError(path, "sockets, pipes and devices can't be copied");
    if (!isReadable(folder, hostName, object))
        throw SourceError(path, reasonFor(EACCES));
    // One call tells most files from those that have metadata at all.
    if (std::ranges::binary_search(m_companions, "._" + hostName)
        || ::llistxattr(path.c_str(), nullptr, 0) > 0)
        child.metadata = metadataOf(path, object, m_largestInline);
    if (S_ISREG(object.mode) && status.stx_nlink > 1)
        child.identity = {
            uint64_t{status.stx_dev_major} << 32 | status.stx_dev_minor, status.stx_ino};
}

} // namespace

FolderListing FolderListing::of(const std::string& path, bool isRoot, uint64_t largestInline)
{
    return Lister(path, isRoot, largestInline).list();
}

FolderListing::Child rootOfScan(const std::string& path, uint64_t largestInline)
{
    const struct statx status = statusOf(AT_FDCWD, path.c_str(), 0, path);
    if (!S_ISDIR(status.stx_mode))
        throw SourceError(path, reasonFor(ENOTDIR));
    FolderListing::Child root;
    root.object = objectFrom(status);
    root.metadata = metadataOf(path, root.object, largestInline);
    return root;
}

} // namespace hfsplus
