#include "codesign/FileReplacement.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace codesign {

namespace {

void copyAttributes(int from, int to)
{
    const ssize_t size = ::flistxattr(from, nullptr, 0);
    if (size <= 0)
        return;
    std::vector<char> names(static_cast<std::size_t>(size));
    const ssize_t listed = ::flistxattr(from, names.data(), names.size());
    for (const char* name = names.data(); listed > 0 && name < names.data() + listed;
         name += std::char_traits<char>::length(name) + 1) {
        std::vector<char> value(64U << 10);
        const ssize_t length = ::fgetxattr(from, name, value.data(), value.size());
        if (length >= 0)
            ::fsetxattr(to, name, value.data(), static_cast<std::size_t>(length), 0);
    }
}

} // namespace

FileReplacement::FileReplacement(const std::filesystem::path& path)
    : m_path(path)
    , m_original(bytes::File::open(path, bytes::File::Mode::read))
    , m_output(path)
{ }

void FileReplacement::copyHead(uint64_t length)
{
    off_t from = 0;
    off_t to = 0;
    while (static_cast<uint64_t>(from) < length) {
        const ssize_t count = ::copy_file_range(m_original.descriptor(), &from, file().descriptor(),
            &to, static_cast<std::size_t>(length) - static_cast<std::size_t>(from), 0);
        if (count <= 0)
            break;
    }
    // Whatever the kernel could not copy between these two is copied by hand.
    constexpr uint64_t piece = 1U << 20;
    for (auto at = static_cast<uint64_t>(from); at < length; at += piece) {
        const auto size = static_cast<std::size_t>(std::min(piece, length - at));
        file().writeAt(at, m_original.read(at, size));
    }
}

void FileReplacement::finish()
{
    struct stat status { };
    if (::fstat(m_original.descriptor(), &status) != 0)
        bytes::throwErrno(m_path.string());
    copyAttributes(m_original.descriptor(), file().descriptor());
    // Giving a file away needs privileges; keeping one's own needs none.
    if (::fchown(file().descriptor(), status.st_uid, status.st_gid) != 0 && errno != EPERM)
        bytes::throwErrno(m_path.string());
    if (::fchmod(file().descriptor(), status.st_mode & 07777) != 0)
        bytes::throwErrno(m_path.string());
    const timespec times[] = {status.st_atim, status.st_mtim};
    ::futimens(file().descriptor(), times);
    m_output.close();
    m_original = bytes::File(-1, m_path);
}

void FileReplacement::commit()
{
    m_output.commit(true);
}

} // namespace codesign
