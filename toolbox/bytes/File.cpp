#include "bytes/File.h"

#include "bytes/FormatError.h"

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

/// Opens a new hidden file beside `target`; `temporary` receives its path.
File openBeside(const fs::path& target, fs::path& temporary)
{
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    std::random_device random;
    for (;;) {
        temporary = folder / (".vandor-" + std::to_string(random()));
        // The usual makers of temporary files give 0600, and the umask that a file should have got
        // can't be asked for without changing it for all threads.
        const int descriptor =
            ::open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor >= 0)
            return {descriptor, target};
        if (errno != EEXIST)
            throwErrno(folder.string());
    }
}

} // namespace

OutputFile::OutputFile(const fs::path& target)
    : OutputFile(target, Uninterrupted())
{ }

OutputFile::OutputFile(const fs::path& target, const Uninterrupted& /*untilItCanBeRemoved*/)
    : m_target(target)
    , m_file(openBeside(target, m_temporary))
    , m_removal([temporary = m_temporary] { ::unlink(temporary.c_str()); })
{ }

OutputFile::~OutputFile()
{
    if (!m_committed)
        ::unlink(m_temporary.c_str());
}

void OutputFile::close()
{
    m_file = File(-1, m_target);
}

void OutputFile::commit(bool replace)
{
    if (replace) {
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
