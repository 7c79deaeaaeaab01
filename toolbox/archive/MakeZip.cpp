#include "archive/MakeZip.h"

#include "archive/EntryPath.h"
#include "archive/LibArchive.h"
#include "bytes/File.h"
#include "bytes/Unicode.h"
#include "hfsplus/NameForms.h"
#include "macfile/AppleDouble.h"
#include "macfile/Metadata.h"

#include <algorithm>
#include <cerrno>
#include <malloc.h>
#include <set>
#include <span>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace archive {

namespace fs = std::filesystem;

namespace {

using FileIdentity = std::pair<dev_t, ino_t>;

constexpr std::size_t pieceSize = 256 << 10;
constexpr int keptMemory = 8 << 20; // bytes

NameEncoding::Kind encodingOf(const std::string& name)
{
    const auto units = bytes::utf16FromUtf8(name);
    const bool composed = units && hfsplus::composed(*units) == *units;
    return composed ? NameEncoding::Kind::utf8 : NameEncoding::Kind::unknown;
}

struct stat statusOf(const fs::path& path)
{
    struct stat status { };
    if (::lstat(path.c_str(), &status) != 0)
        bytes::throwErrno(path.string());
    return status;
}

class ZipWriter {
public:
    ZipWriter(const bytes::File& target, MetadataPlace place);

    void leaveOut(const struct stat& file) { m_leftOut.insert({file.st_dev, file.st_ino}); }
    /// `path` with all that is below it, as the entry `name`; "" is the archive itself.
    void addTree(const fs::path& path, const std::string& name);
    void finish();

private:
    void addFolder(const fs::path& path, const std::string& name);
    void addFile(const fs::path& path, const std::string& name, const struct stat& status);
    void addMetadata(const fs::path& path, const std::string& name, const struct stat& status);
    void beginEntry(const std::string& name, const struct stat& status, uint64_t size,
        const char* linkTarget = nullptr);
    void write(std::span<const std::byte> data, const std::string& name);

    ArchiveOwner m_archive;
    MetadataPlace m_place;
    std::set<FileIdentity> m_leftOut;
    std::vector<std::byte> m_piece = std::vector<std::byte>(pieceSize);
};

ZipWriter::ZipWriter(const bytes::File& target, MetadataPlace place)
    : m_archive(::archive_write_new())
    , m_place(place)
{
    archive_object* out = m_archive.get();
    if (out == nullptr || ::archive_write_set_format_zip(out) != ARCHIVE_OK
        || ::archive_write_set_bytes_in_last_block(out, 1) != ARCHIVE_OK
        || ::archive_write_open_fd(out, target.descriptor()) != ARCHIVE_OK)
        throwArchiveError(out, target.path().string());
}

void ZipWriter::addTree(const fs::path& path, const std::string& name)
{
    const struct stat status = statusOf(path);
    if (m_leftOut.contains({status.st_dev, status.st_ino}))
        return;
    if (S_ISDIR(status.st_mode)) {
        if (!name.empty())
            beginEntry(name + "/", status, 0);
        addMetadata(path, name, status);
        return addFolder(path, name);
    }
    if (S_ISLNK(status.st_mode))
        beginEntry(name, status, 0, fs::read_symlink(path).c_str());
    else if (S_ISREG(status.st_mode))
        addFile(path, name, status);
    else
        throw std::system_error(EOPNOTSUPP, std::generic_category(), path.string());
    addMetadata(path, name, status);
}

void ZipWriter::addFolder(const fs::path& path, const std::string& name)
{
    std::vector<std::string> children;
    for (const auto& child : fs::directory_iterator(path)) {
        std::string childName = child.path().filename().string();
        // What lies in the host's companions belongs to other entries.
        if (!childName.starts_with("._") || !macfile::isCompanion(child.path()))
            children.push_back(std::move(childName));
    }
    std::ranges::sort(children);
    for (const std::string& child : children)
        addTree(path / child, name.empty() ? child : name + "/" + child);
}

void ZipWriter::addFile(const fs::path& path, const std::string& name, const struct stat& status)
{
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    const auto size = static_cast<uint64_t>(status.st_size);
    beginEntry(name, status, size);
    for (uint64_t at = 0; at < size;) {
        const auto piece = std::span(m_piece).first(std::min<uint64_t>(m_piece.size(), size - at));
        file.readAt(at, piece); // fails when the file became shorter
        write(piece, name);
        at += piece.size();
    }
}

void ZipWriter::addMetadata(
    const fs::path& path, const std::string& name, const struct stat& status)
{
    if (m_place == MetadataPlace::nowhere || name.empty())
        return;
    const macfile::Metadata metadata = macfile::readMetadata(path);
    if (metadata.empty())
        return;
    const std::size_t start = name.rfind('/') + 1; // 0 without a slash
    std::string place = name.substr(0, start) + "._" + name.substr(start);
    if (m_place == MetadataPlace::collected)
        place = std::string(collectedMetadata) + "/" + place;
    const auto raw = macfile::writeAppleDouble(metadata);
    struct stat plain = status;
    plain.st_mode = S_IFREG | (status.st_mode & (S_ISREG(status.st_mode) ? 0777 : 0666));
    beginEntry(place, plain, raw.size());
    write(raw, place);
}

void ZipWriter::beginEntry(
    const std::string& name, const struct stat& status, uint64_t size, const char* linkTarget)
{
    const NameEncoding encoding(encodingOf(name));
    const EntryOwner entry(::archive_entry_new());
    ::archive_entry_copy_pathname(entry.get(), name.c_str());
    ::archive_entry_set_mode(entry.get(), status.st_mode);
    ::archive_entry_set_mtime(entry.get(), status.st_mtim.tv_sec, 0);
    ::archive_entry_set_uid(entry.get(), status.st_uid);
    ::archive_entry_set_gid(entry.get(), status.st_gid);
    ::archive_entry_set_size(entry.get(), static_cast<int64_t>(size));
    if (linkTarget != nullptr)
        ::archive_entry_copy_symlink(entry.get(), linkTarget);
    if (::archive_write_header(m_archive.get(), entry.get()) != ARCHIVE_OK)
        throwArchiveError(m_archive.get(), name);
}

void ZipWriter::write(std::span<const std::byte> data, const std::string& name)
{
    while (!data.empty()) {
        const la_ssize_t count = ::archive_write_data(m_archive.get(), data.data(), data.size());
        if (count <= 0)
            throwArchiveError(m_archive.get(), name);
        data = data.subspan(static_cast<std::size_t>(count));
    }
}

void ZipWriter::finish()
{
    if (::archive_write_close(m_archive.get()) != ARCHIVE_OK)
        throwArchiveError(m_archive.get(), "the archive");
}

} // namespace

void makeZip(const fs::path& source, const fs::path& zip, const ZipOptions& options)
{
    // The packer frees its tables after each entry. Given back to the host, their pages would come
    // again one by one and cleared.
    ::mallopt(M_TRIM_THRESHOLD, keptMemory);
    const fs::path tree = fs::canonical(source);
    bytes::OutputFile output(zip);
    ZipWriter writer(output.file(), options.metadata);
    writer.leaveOut(statusOf(output.temporaryPath()));
    if (fs::exists(fs::symlink_status(zip)))
        writer.leaveOut(statusOf(zip));
    const bool named = options.keepParent || !fs::is_directory(tree);
    writer.addTree(tree, named ? tree.filename().string() : std::string());
    writer.finish();
    output.commit(true);
}

} // namespace archive
