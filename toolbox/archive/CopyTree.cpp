#include "archive/CopyTree.h"

#include "bytes/File.h"
#include "hfsplus/SparseCopy.h"
#include "macfile/Metadata.h"

#include <cerrno>
#include <fcntl.h>
#include <map>
#include <sys/stat.h>
#include <system_error>

namespace archive {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void refuse(int error, const fs::path& path)
{
    throw std::system_error(error, std::generic_category(), path.string());
}

class TreeCopier {
public:
    explicit TreeCopier(bool metadata)
        : m_withMetadata(metadata)
    { }

    void copy(const fs::path& source, const fs::path& target);

private:
    void copyFolder(const fs::path& source, const fs::path& target);
    void copyFile(const fs::path& source, const fs::path& target, const struct stat& status);
    void copyFurther(const fs::path& source, const fs::path& target, const struct stat& status);
    bool linkToCopy(const fs::path& target, const struct stat& status);

    bool m_withMetadata;
    std::map<std::pair<dev_t, ino_t>, fs::path> m_copies; // of files with several names
};

void TreeCopier::copy(const fs::path& source, const fs::path& target)
{
    struct stat status { };
    if (::lstat(source.c_str(), &status) != 0)
        bytes::throwErrno(source.string());
    if (S_ISDIR(status.st_mode)) {
        copyFolder(source, target);
    } else if (S_ISLNK(status.st_mode)) {
        if (!fs::is_directory(fs::symlink_status(target)))
            fs::remove(target);
        fs::create_symlink(fs::read_symlink(source), target);
    } else if (S_ISREG(status.st_mode)) {
        if (!linkToCopy(target, status))
            copyFile(source, target, status);
    } else {
        refuse(EOPNOTSUPP, source);
    }
    copyFurther(source, target, status);
}

void TreeCopier::copyFolder(const fs::path& source, const fs::path& target)
{
    if (::mkdir(target.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        bytes::throwErrno(target.string());
    if (!fs::is_directory(fs::symlink_status(target)))
        refuse(ENOTDIR, target);
    for (const auto& child : fs::directory_iterator(source)) {
        // What a companion says is copied along with its file.
        if (!macfile::isCompanion(child.path()))
            copy(child.path(), target / child.path().filename());
    }
}

void TreeCopier::copyFile(const fs::path& source, const fs::path& target, const struct stat& status)
{
    const auto from = bytes::File::open(source, bytes::File::Mode::read);
    bytes::OutputFile to(target);
    if (::fchmod(to.file().descriptor(), (status.st_mode & 0777) | S_IRUSR | S_IWUSR) != 0)
        bytes::throwErrno(target.string());
    hfsplus::copySparse(from, to.file());
    to.commit(true);
    if (status.st_nlink > 1)
        m_copies.emplace(std::pair(status.st_dev, status.st_ino), target);
}

/// True when the file was copied under another of its names before.
bool TreeCopier::linkToCopy(const fs::path& target, const struct stat& status)
{
    const auto copy = m_copies.find({status.st_dev, status.st_ino});
    if (copy == m_copies.end())
        return false;
    fs::remove(target);
    fs::create_hard_link(copy->second, target);
    return true;
}

/// All that isn't content. Attributes can be given only to files that may be written, and dates
/// only when nothing else changes any more.
void TreeCopier::copyFurther(
    const fs::path& source, const fs::path& target, const struct stat& status)
{
    if (m_withMetadata)
        macfile::writeMetadata(target, macfile::readMetadata(source));
    if (!S_ISLNK(status.st_mode) && ::chmod(target.c_str(), status.st_mode & 0777) != 0)
        bytes::throwErrno(target.string());
    const timespec times[] = {status.st_atim, status.st_mtim};
    if (::utimensat(AT_FDCWD, target.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0)
        bytes::throwErrno(target.string());
}

/// Where the copy goes. A link that leads to a folder stands for it; any other is replaced.
fs::path placeFor(const fs::path& source, bool isFolder, const fs::path& target)
{
    if (isFolder || fs::is_directory(target))
        return fs::weakly_canonical(isFolder ? target : target / source.filename());
    return fs::weakly_canonical(fs::absolute(target).parent_path()) / target.filename();
}

bool isInside(const fs::path& path, const fs::path& folder)
{
    return *path.lexically_relative(folder).begin() != "..";
}

} // namespace

void copyTree(const fs::path& source, const fs::path& target, bool metadata)
{
    const fs::path from = fs::canonical(source);
    const bool isFolder = fs::is_directory(from);
    const fs::path place = placeFor(from, isFolder, target);
    const bool isItself = fs::exists(place) && fs::equivalent(from, place);
    if (isItself || (isFolder && isInside(place, from)))
        refuse(EINVAL, place); // what grows as it is copied has no end
    fs::create_directories(isFolder ? place : place.parent_path());
    TreeCopier(metadata).copy(from, place);
}

} // namespace archive
