#include "volumes/FileLock.h"

#include "bytes/File.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace volumes {

namespace fs = std::filesystem;

namespace {

/// A lock on a file that was meanwhile removed or replaced locks nobody out.
bool isStillAt(int descriptor, const fs::path& path)
{
    struct stat held { };
    struct stat named { };
    return ::fstat(descriptor, &held) == 0 && ::stat(path.c_str(), &named) == 0
        && held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

} // namespace

std::optional<FileLock> FileLock::take(const fs::path& path, int operation)
{
    for (;;) {
        FileLock lock(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        if (lock.m_descriptor < 0)
            bytes::throwErrno(path.string());
        while (::flock(lock.m_descriptor, operation) != 0) {
            if (errno == EWOULDBLOCK)
                return std::nullopt;
            if (errno != EINTR)
                bytes::throwErrno(path.string());
        }
        if (isStillAt(lock.m_descriptor, path))
            return lock;
    }
}

FileLock FileLock::wait(const fs::path& path)
{
    return std::move(*take(path, LOCK_EX));
}

std::optional<FileLock> FileLock::tryNow(const fs::path& path)
{
    return take(path, LOCK_EX | LOCK_NB);
}

FileLock::FileLock(FileLock&& other) noexcept
    : m_descriptor(std::exchange(other.m_descriptor, -1))
{ }

FileLock& FileLock::operator=(FileLock&& other) noexcept
{
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
}

FileLock::~FileLock()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

} // namespace volumes
