#include "platform/FileCopy.h"

#include <QByteArrayList>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <unistd.h>

#ifdef Q_OS_LINUX
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/xattr.h>
#else
#include <copyfile.h>
#endif

namespace {

// Between two looks at the stop flag.
[[maybe_unused]] constexpr size_t kernelChunk = 8 << 20;
constexpr size_t ownChunk = 128 << 10;
constexpr auto wholeFile = std::numeric_limits<uint64_t>::max();

bool stopped(const std::atomic<bool>* stop)
{
    if (!stop || !*stop)
        return false;
    errno = ECANCELED;
    return true;
}

bool writeAll(int target, const char* bytes, size_t count)
{
    while (count > 0) {
        const ssize_t written = ::write(target, bytes, count);
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0) {
            bytes += written;
            count -= static_cast<size_t>(written);
        }
    }
    return true;
}

/// At most `count` bytes from both files' current positions, fewer at the source's end.
bool copyThroughMemory(int source, int target, uint64_t count, const std::atomic<bool>* stop)
{
    const auto buffer = std::make_unique_for_overwrite<char[]>(ownChunk);
    while (count > 0) {
        if (stopped(stop))
            return false;
        const ssize_t taken =
            ::read(source, buffer.get(), static_cast<size_t>(std::min<uint64_t>(ownChunk, count)));
        if (taken == 0)
            return true;
        if (taken < 0 && errno != EINTR)
            return false;
        if (taken > 0 && !writeAll(target, buffer.get(), static_cast<size_t>(taken)))
            return false;
        count -= static_cast<uint64_t>(std::max<ssize_t>(taken, 0));
    }
    return true;
}

#ifdef Q_OS_LINUX
/// Copies as much of `count` bytes as the kernel will and takes it from `count`; what remains is
/// for the slow way. False after a stop.
bool copyInKernel(int source, int target, uint64_t& count, const std::atomic<bool>* stop)
{
    while (count > 0 && !stopped(stop)) {
        const ssize_t moved = ::copy_file_range(source, nullptr, target, nullptr,
            static_cast<size_t>(std::min<uint64_t>(kernelChunk, count)), 0);
        if (moved <= 0) // at the end, or an error that the slow way meets again if it is real
            return true;
        count -= static_cast<uint64_t>(moved);
    }
    return !stopped(stop);
}

bool copyAttribute(int source, int target, const char* name)
{
    constexpr size_t largest = 65536; // the kernel's limit for any file system
    const auto value = std::make_unique_for_overwrite<char[]>(largest);
    const ssize_t size = ::fgetxattr(source, name, value.get(), largest);
    return size >= 0 && ::fsetxattr(target, name, value.get(), static_cast<size_t>(size), 0) == 0;
}
#endif

bool copyRun(int source, int target, uint64_t count, const std::atomic<bool>* stop)
{
#ifdef Q_OS_LINUX
    if (!copyInKernel(source, target, count, stop))
        return false;
#endif
    return copyThroughMemory(source, target, count, stop);
}

/// Leaves out the holes, which the copy has too.
bool copyRunsOfData(int source, int target, const std::atomic<bool>* stop)
{
    for (off_t at = 0;;) {
        const off_t end = ::lseek(source, 0, SEEK_END); // first: the file may be growing
        const off_t data = ::lseek(source, at, SEEK_DATA);
        if (data < 0)
            return errno == ENXIO && ::ftruncate(target, end) == 0;
        const off_t hole = ::lseek(source, data, SEEK_HOLE);
        if (hole < 0 || ::lseek(source, data, SEEK_SET) < 0 || ::lseek(target, data, SEEK_SET) < 0
            || !copyRun(source, target, static_cast<uint64_t>(hole - data), stop))
            return false;
        at = hole;
    }
}

} // namespace

bool FileCopy::contents(int source, int target, const std::atomic<bool>* stop)
{
#ifdef Q_OS_LINUX
    if (::ioctl(target, FICLONE, source) == 0)
        return true;
#endif
    struct stat status { };
    if (::fstat(source, &status) != 0)
        return false;
    const bool isSparse = status.st_blocks * 512 < status.st_size;
    return isSparse ? copyRunsOfData(source, target, stop)
                    : copyRun(source, target, wholeFile, stop);
}

bool FileCopy::attributes(int source, int target)
{
#ifdef Q_OS_LINUX
    const ssize_t size = ::flistxattr(source, nullptr, 0);
    if (size <= 0)
        return size == 0 || errno == ENOTSUP;
    QByteArray names(size, '\0');
    const ssize_t length = ::flistxattr(source, names.data(), static_cast<size_t>(size));
    if (length < 0)
        return false;
    names.truncate(length);
    for (const QByteArray& name : names.split('\0')) {
        if (name.startsWith("user.") && !copyAttribute(source, target, name.constData()))
            return errno == ENOTSUP;
    }
    return true;
#else
    return ::fcopyfile(source, target, nullptr, COPYFILE_XATTR) == 0;
#endif
}

bool FileCopy::status(int target, const struct stat& status)
{
    const timespec times[2] = {accessed(status), modified(status)};
    return ::fchmod(target, status.st_mode & ALLPERMS) == 0 && ::futimens(target, times) == 0;
}

#ifdef Q_OS_MACOS
timespec FileCopy::accessed(const struct stat& status)
{
    return status.st_atimespec;
}

timespec FileCopy::modified(const struct stat& status)
{
    return status.st_mtimespec;
}
#else
timespec FileCopy::accessed(const struct stat& status)
{
    return status.st_atim;
}

timespec FileCopy::modified(const struct stat& status)
{
    return status.st_mtim;
}
#endif
