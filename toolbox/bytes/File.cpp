#include "bytes/File.h"

#include "bytes/FormatError.h"

#include <cassert>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <random>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace bytes {

namespace fs = std::filesystem;

void throwErrno(const std::string& what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

File File::open(const fs::path& path, Mode mode)
{
    const int flags = mode == Mode::read ? O_RDONLY
        : mode == Mode::readWrite        ? O_RDWR
                                         : O_RDWR | O_CREAT | O_EXCL;
    const int descriptor = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
    if (descriptor < 0)
        throwErrno(path.string());
    return {descriptor, path};
}

File::File(int descriptor, fs::path path)
    : m_descriptor(descriptor)
    , m_path(std::move(path))
{ }

File::File(File&& other) noexcept
    : m_descriptor(std::exchange(other.m_descriptor, -1))
    , m_path(std::move(other.m_path))
{ }

File& File::operator=(File&& other) noexcept
{
    std::swap(m_descriptor, other.m_descriptor);
    std::swap(m_path, other.m_path);
    return *this;
}

File::~File()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

uint64_t File::size() const
{
    struct stat status { };
    if (::fstat(m_descriptor, &status) != 0)
        throwErrno(m_path.string());
    return static_cast<uint64_t>(status.st_size);
}

void File::readAt(uint64_t offset, std::span<std::byte> out) const
{
    while (!out.empty()) {
        const ssize_t count =
            ::pread(m_descriptor, out.data(), out.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throwErrno(m_path.string());
        if (count == 0)
            throw FormatError(m_path.filename().string() + " ends too early", offset);
        offset += static_cast<uint64_t>(count);
        out = out.subspan(static_cast<std::size_t>(count));
    }
}

void File::writeAt(uint64_t offset, std::span<const std::byte> in)
{
    while (!in.empty()) {
        const ssize_t count =
            ::pwrite(m_descriptor, in.data(), in.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throwErrno(m_path.string());
        offset += static_cast<uint64_t>(count);
        in = in.subspan(static_cast<std::size_t>(count));
    }
}

void File::resize(uint64_t size)
{
    if (::ftruncate(m_descriptor, static_cast<off_t>(size)) != 0)
        throwErrno(m_path.string());
}

void File::flush()
{
    if (::fsync(m_descriptor) != 0)
        throwErrno(m_path.string());
}

namespace {

fs::path folderOf(const fs::path& target)
{
    return target.has_parent_path() ? target.parent_path() : fs::path(".");
}

fs::path hiddenPathBeside(const fs::path& target)
{
    return folderOf(target) / (".vandor-" + std::to_string(std::random_device()()));
}

/// The way to a file that has no name.
fs::path descriptorPath(const File& file)
{
    return "/proc/self/fd/" + std::to_string(file.descriptor());
}

/// Opens a new hidden file beside `target`; `temporary` receives its path.
File openBeside(const fs::path& target, fs::path& temporary)
{
    for (;;) {
        temporary = hiddenPathBeside(target);
        // The usual makers of temporary files give 0600, and the umask that a file should have got
        // can't be asked for without changing it for all threads.
        const int descriptor =
            ::open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor >= 0)
            return {descriptor, target};
        if (errno != EEXIST)
            throwErrno(folderOf(target).string());
    }
}

/// The same without a name, which needs a file system and a /proc that play along; else with one.
File openNameless(const fs::path& target, fs::path& temporary)
{
    const int descriptor = ::open(folderOf(target).c_str(), O_RDWR | O_TMPFILE | O_CLOEXEC, 0666);
    if (descriptor < 0)
        return openBeside(target, temporary);
    File file(descriptor, target);
    return ::access(descriptorPath(file).c_str(), F_OK) == 0 ? std::move(file)
                                                             : openBeside(target, temporary);
}

} // namespace

OutputFile::OutputFile(const fs::path& target, Until until)
    : OutputFile(target, until, Uninterrupted())
{ }

OutputFile::OutputFile(
    const fs::path& target, Until until, const Uninterrupted& /*untilItCanBeRemoved*/)
    : m_target(target)
    , m_file(until == Until::nameless ? openNameless(target, m_temporary)
                                      : openBeside(target, m_temporary))
    , m_removal([temporary = m_temporary] { ::unlink(temporary.c_str()); })
{ }

OutputFile::~OutputFile()
{
    if (!m_committed && !m_temporary.empty())
        ::unlink(m_temporary.c_str());
}

void OutputFile::close()
{
    assert(!m_temporary.empty());
    m_file = File(-1, m_target);
}

/// Links the nameless file to the target, or to a name that can take the target's place.
void OutputFile::giveName(bool replace)
{
    const fs::path file = descriptorPath(m_file);
    fs::path name = m_target;
    while (::linkat(AT_FDCWD, file.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) != 0) {
        if (errno != EEXIST || !replace)
            throwErrno(m_target.string());
        name = hiddenPathBeside(m_target);
    }
    if (name == m_target)
        return;
    if (::rename(name.c_str(), m_target.c_str()) != 0) {
        const int fault = errno;
        ::unlink(name.c_str());
        throw std::system_error(fault, std::generic_category(), m_target.string());
    }
}

void OutputFile::commit(bool replace)
{
    if (m_temporary.empty()) {
        const Uninterrupted whole;
        giveName(replace);
    } else if (replace) {
        if (::rename(m_temporary.c_str(), m_target.c_str()) != 0)
            throwErrno(m_target.string());
    } else {
        // A link refuses an existing name in one step, where a test and a rename would race.
        if (::link(m_temporary.c_str(), m_target.c_str()) != 0)
            throwErrno(m_target.string());
        ::unlink(m_temporary.c_str());
    }
    m_committed = true;
}

} // namespace bytes
