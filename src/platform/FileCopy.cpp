#include "platform/FileCopy.h"

#include <QByteArrayList>

#include <cerrno>
#include <fcntl.h>
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

/// From both files' current positions to the end.
bool copyThroughMemory(int source, int target, const std::atomic<bool>* stop)
{
    const auto buffer = std::make_unique_for_overwrite<char[]>(ownChunk);
    for (;;) {
        if (stopped(stop))
            return false;
        const ssize_t count = ::read(source, buffer.get(), ownChunk);
        if (count == 0)
            return true;
        if (count < 0 && errno != EINTR)
            return false;
        if (count > 0 && !writeAll(target, buffer.get(), static_cast<size_t>(count)))
            return false;
    }
}

#ifdef Q_OS_LINUX
/// Copies as much as the kernel will; what remains is for the slow way. False after a stop.
bool copyInKernel(int source, int target, const std::atomic<bool>* stop)
{
    if (::ioctl(target, FICLONE, source) == 0)
        return ::lseek(source, 0, SEEK_END) >= 0;
    while (!stopped(stop)) {
        const ssize_t count = ::copy_file_range(source, nullptr, target, nullptr, kernelChunk, 0);
        if (count <= 0) // at the end, or an error that the slow way meets again if it is real
            return true;
    }
    return false;
}

bool copyAttribute(int source, int target, const char* name)
{
    constexpr size_t largest = 65536; // the kernel's limit for any file system
    const auto value = std::make_unique_for_overwrite<char[]>(largest);
    const ssize_t size = ::fgetxattr(source, name, value.get(), largest);
    return size >= 0 && ::fsetxattr(target, name, value.get(), static_cast<size_t>(size), 0) == 0;
}
#endif

} // namespace

bool FileCopy::contents(int source, int target, const std::atomic<bool>* stop)
{
#ifdef Q_OS_LINUX
    if (!copyInKernel(source, target, stop))
        return false;
#endif
    return copyThroughMemory(source, target, stop);
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
