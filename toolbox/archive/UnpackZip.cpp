#include "archive/UnpackZip.h"

#include "archive/EntryPath.h"
#include "archive/LibArchive.h"
#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "hfsplus/HostFolder.h"
#include "macfile/AppleDouble.h"
#include "macfile/Metadata.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_set>
#include <vector>

namespace archive {

namespace fs = std::filesystem;

namespace {

using bytes::FormatError;
using hfsplus::folderOf;
using hfsplus::HostFolder;
using hfsplus::nameOf;

/// Deflated data is at most 1032 times as long when it is unpacked.
constexpr uint64_t largestGrowth = 1032;
/// A larger companion stays a file of its own: it would have to be taken into memory.
constexpr off_t largestCompanion = 64 << 20;
constexpr std::size_t appleDoubleHead = 26;

class Unpacker {
public:
    Unpacker(archive_object* source, const fs::path& folder, uint64_t mostBytes, uint64_t most)
        : m_archive(source)
        , m_base(HostFolder::open(folder))
        , m_bytesLeft(mostBytes)
        , m_entriesLeft(most)
    { }

    void unpackAll();

private:
    struct Folder {
        std::string path;
        mode_t mode = 0;
        timespec modified{};
    };
    struct Piece {
        const void* data = nullptr;
        std::size_t size = 0;
        off_t offset = 0;
    };

    void unpack(archive_entry* entry);
    void makeFolder(const std::string& path, archive_entry* entry);
    void makeLink(const std::string& path, archive_entry* entry);
    void makeFile(const std::string& path, archive_entry* entry);
    const HostFolder& folderFor(std::string_view path);
    void claim(const std::string& path);
    bool nextPiece(Piece& piece);
    void takeMetadata(const std::string& companion) const;
    void finishFolders() const;

    archive_object* m_archive;
    HostFolder m_base;
    uint64_t m_bytesLeft;
    uint64_t m_entriesLeft;
    std::unordered_set<std::string> m_made; // files and links
    std::unordered_set<std::string> m_knownFolders;
    std::vector<Folder> m_folders;
    std::vector<std::string> m_companions;
    std::string m_openPath;
    std::optional<HostFolder> m_openFolder; // at m_openPath
};

timespec modifiedTime(archive_entry* entry)
{
    if (::archive_entry_mtime_is_set(entry) == 0)
        return {.tv_sec = 0, .tv_nsec = UTIME_OMIT};
    return {.tv_sec = ::archive_entry_mtime(entry), .tv_nsec = ::archive_entry_mtime_nsec(entry)};
}

void setModified(int folder, const char* name, const timespec& modified)
{
    const timespec times[] = {{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, modified};
    if (::utimensat(folder, name, times, AT_SYMLINK_NOFOLLOW) != 0)
        bytes::throwErrno(name);
}

void Unpacker::unpackAll()
{
    archive_entry* entry = nullptr;
    for (;;) {
        const int result = ::archive_read_next_header(m_archive, &entry);
        if (result == ARCHIVE_EOF)
            break;
        if (result != ARCHIVE_OK)
            throwArchiveError(m_archive, "the archive");
        if (m_entriesLeft-- == 0)
            throw FormatError("the archive has too many entries");
        unpack(entry);
    }
    m_openFolder.reset();
    for (const std::string& companion : m_companions)
        takeMetadata(companion);
    finishFolders();
}

void Unpacker::unpack(archive_entry* entry)
{
    const char* stored = ::archive_entry_pathname(entry);
    if (stored == nullptr)
        throw FormatError("the archive has an entry without a name");
    const std::string path = entryPath(stored);
    if (path.empty())
        return;
    switch (::archive_entry_filetype(entry)) {
    case AE_IFDIR:
        return makeFolder(path, entry);
    case AE_IFLNK:
        return makeLink(path, entry);
    case AE_IFREG:
        return makeFile(path, entry);
    default:
        throw FormatError("the archive's entry " + path + " is no file, folder or link");
    }
}

/// The folder at `path`, made with those above it where it is missing.
const HostFolder& Unpacker::folderFor(std::string_view path)
try {
    if (m_openFolder && m_openPath == path)
        return *m_openFolder;
    HostFolder at = m_base.descend({});
    for (std::size_t end = 0; end < path.size(); ++end) {
        end = std::min(path.find('/', end), path.size());
        const std::string name(nameOf(path.substr(0, end)));
        if (m_knownFolders.insert(std::string(path.substr(0, end))).second
            && ::mkdirat(at.descriptor(), name.c_str(), 0700) != 0 && errno != EEXIST)
            bytes::throwErrno(name);
        at = at.descend(name);
    }
    m_openPath = path;
    return m_openFolder.emplace(std::move(at));
} catch (const std::system_error& error) {
    if (error.code() == std::errc::not_a_directory
        || error.code() == std::errc::too_many_symbolic_link_levels)
        throw FormatError(
            "the archive needs a folder where a file or a link is: " + std::string(path));
    throw;
}

/// Makes room for a new file or link at `path`.
void Unpacker::claim(const std::string& path)
{
    if (!m_made.insert(path).second || m_knownFolders.contains(path))
        throw FormatError("the archive has two entries of the name " + path);
    const HostFolder& folder = folderFor(folderOf(path));
    const std::string name(nameOf(path));
    if (::unlinkat(folder.descriptor(), name.c_str(), 0) != 0 && errno != ENOENT)
        bytes::throwErrno(path);
}

void Unpacker::makeFolder(const std::string& path, archive_entry* entry)
{
    if (path == collectedMetadata || path.starts_with(std::string(collectedMetadata) + "/"))
        return; // made when something lies in it that isn't metadata
    folderFor(path);
    const mode_t mode = ::archive_entry_perm(entry) & 0777;
    m_folders.push_back({path, mode | 0700, modifiedTime(entry)});
}

void Unpacker::makeLink(const std::string& path, archive_entry* entry)
{
    const char* target = ::archive_entry_symlink(entry);
    if (target == nullptr || *target == '\0')
        throw FormatError("the archive's link " + path + " has no target");
    claim(path);
    const HostFolder& folder = folderFor(folderOf(path));
    const std::string name(nameOf(path));
    if (::symlinkat(target, folder.descriptor(), name.c_str()) != 0)
        bytes::throwErrno(path);
    setModified(folder.descriptor(), name.c_str(), modifiedTime(entry));
}

bool Unpacker::nextPiece(Piece& piece)
{
    const int result =
        ::archive_read_data_block(m_archive, &piece.data, &piece.size, &piece.offset);
    if (result == ARCHIVE_EOF)
        return false;
    if (result != ARCHIVE_OK)
        throwArchiveError(m_archive, "the archive");
    if (piece.size > m_bytesLeft)
        throw FormatError("the archive holds more than can be meant");
    m_bytesLeft -= piece.size;
    return true;
}

void Unpacker::makeFile(const std::string& stored, archive_entry* entry)
{
    Piece piece;
    bool more = nextPiece(piece);
    const std::span first(static_cast<const std::byte*>(piece.data), more ? piece.size : 0);
    const std::string companion = companionPath(stored);
    const bool isCompanion = !companion.empty()
        && macfile::looksLikeAppleDouble(first.first(std::min(first.size(), appleDoubleHead)));
    const std::string& path = isCompanion ? companion : stored;
    claim(path);
    const HostFolder& folder = folderFor(folderOf(path));
    const std::string name(nameOf(path));
    const int descriptor = ::openat(folder.descriptor(), name.c_str(),
        O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor < 0)
        bytes::throwErrno(path);
    bytes::File file(descriptor, path);
    for (; more; more = nextPiece(piece))
        file.writeAt(static_cast<uint64_t>(piece.offset),
            std::span(static_cast<const std::byte*>(piece.data), piece.size));
    if (::fchmod(descriptor, (::archive_entry_perm(entry) & 0777) | 0400) != 0)
        bytes::throwErrno(path);
    setModified(folder.descriptor(), name.c_str(), modifiedTime(entry));
    if (isCompanion)
        m_companions.push_back(companion);
}

/// Gives the host's own attributes what the companion says, as far as the host can keep it. A
/// companion of nothing stays a file.
void Unpacker::takeMetadata(const std::string& companion) const
{
    const HostFolder folder = m_base.descend(folderOf(companion));
    const std::string companionName(nameOf(companion));
    const std::string name = companionName.substr(2);
    struct stat status {
    }, ownStatus{};
    if (!folder.status(name.c_str(), status) || !folder.status(companionName.c_str(), ownStatus)
        || ownStatus.st_size > largestCompanion)
        return;
    const bool link = S_ISLNK(status.st_mode);
    const fs::path path = folder.pathOf(name);
    // Attributes can be given only to files that may be written.
    if (!link && ::fchmodat(folder.descriptor(), name.c_str(), status.st_mode | 0600, 0) != 0)
        bytes::throwErrno(companion);
    macfile::writeMetadata(path, macfile::readMetadata(path));
    if (!link && ::fchmodat(folder.descriptor(), name.c_str(), status.st_mode & 0777, 0) != 0)
        bytes::throwErrno(companion);
    setModified(folder.descriptor(), name.c_str(), status.st_mtim);
}

/// From the leaves up, for making what they hold changed their dates.
void Unpacker::finishFolders() const
{
    for (auto folder = m_folders.rbegin(); folder != m_folders.rend(); ++folder) {
        const HostFolder open = m_base.descend(folder->path);
        if (::fchmod(open.descriptor(), folder->mode) != 0)
            bytes::throwErrno(folder->path);
        setModified(open.descriptor(), ".", folder->modified);
    }
}

} // namespace

void unpackZip(const fs::path& zip, const fs::path& folder, const UnpackLimits& limits)
{
    const auto file = bytes::File::open(zip, bytes::File::Mode::read);
    const NameEncoding names(NameEncoding::Kind::utf8);
    const ArchiveOwner source(::archive_read_new());
    // The reader that goes by the central directory: only there are the modes, and it is what
    // every other reader believes.
    if (!source || ::archive_read_support_format_zip_seekable(source.get()) != ARCHIVE_OK
        || ::archive_read_open_fd(source.get(), file.descriptor(), 64 << 10) != ARCHIVE_OK)
        throwArchiveError(source.get(), zip.string());
    fs::create_directories(folder);
    const uint64_t growth = std::max(file.size(), uint64_t{1}) * largestGrowth;
    Unpacker(source.get(), folder, std::min(limits.bytes, growth), limits.entries).unpackAll();
}

} // namespace archive
