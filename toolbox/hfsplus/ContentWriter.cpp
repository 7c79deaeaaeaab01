#include "hfsplus/ContentWriter.h"

#include "bytes/Unicode.h"
#include "macfile/Metadata.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace hfsplus {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void failChanged(const fs::path& path)
{
    throw SourceError(path, "the file changed while it was copied");
}

/// A file of the host while it is read from its start.
class OpenFile {
public:
    explicit OpenFile(const fs::path& path)
        : m_path(path)
        , m_descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK))
    {
        if (m_descriptor < 0)
            throw SourceError(path, reasonFor(errno));
    }
    ~OpenFile() { ::close(m_descriptor); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    /// True when the file has holes.
    bool expectSize(uint64_t size) const
    {
        struct stat status { };
        if (::fstat(m_descriptor, &status) != 0)
            throw SourceError(m_path, reasonFor(errno));
        if (!S_ISREG(status.st_mode) || static_cast<uint64_t>(status.st_size) != size)
            failChanged(m_path);
        return static_cast<uint64_t>(status.st_blocks) * 512 < size;
    }

    /// Skips the hole that the file may have at `position`; says where data goes on, `size` where
    /// none does.
    uint64_t skipHole(uint64_t position, uint64_t size)
    {
        const off_t data = ::lseek(m_descriptor, static_cast<off_t>(position), SEEK_DATA);
        if (data < 0 && errno == ENXIO)
            return size;
        if (data >= 0)
            return std::min(static_cast<uint64_t>(data), size);
        if (::lseek(m_descriptor, static_cast<off_t>(position), SEEK_SET) < 0)
            throw SourceError(m_path, reasonFor(errno));
        return position; // a host without holes
    }

    /// Where the data at `position` ends and a hole begins.
    uint64_t dataEnd(uint64_t position, uint64_t size)
    {
        const off_t hole = ::lseek(m_descriptor, static_cast<off_t>(position), SEEK_HOLE);
        if (::lseek(m_descriptor, static_cast<off_t>(position), SEEK_SET) < 0)
            throw SourceError(m_path, reasonFor(errno));
        const bool isKnown = hole > static_cast<off_t>(position);
        return isKnown ? std::min(static_cast<uint64_t>(hole), size) : size;
    }

    /// At least one byte.
    std::size_t read(std::span<std::byte> out)
    {
        for (;;) {
            const ssize_t count = ::read(m_descriptor, out.data(), out.size());
            if (count > 0)
                return static_cast<std::size_t>(count);
            if (count == 0)
                failChanged(m_path);
            if (errno != EINTR)
                throw SourceError(m_path, reasonFor(errno));
        }
    }

private:
    const fs::path& m_path;
    int m_descriptor;
};

void copyData(OpenFile& file, VolumeStream& volume, uint64_t size)
{
    for (uint64_t rest = size; rest != 0;) {
        const std::span<std::byte> room = volume.room();
        const std::size_t count = file.read(room.first(std::min<uint64_t>(room.size(), rest)));
        volume.advance(count);
        rest -= count;
    }
}

} // namespace

ContentWriter::ContentWriter(const ContentPlan& plan, VolumeStream& volume, uint64_t contentStart)
    : m_plan(plan)
    , m_volume(volume)
    , m_contentStart(contentStart)
{ }

void ContentWriter::writeAll()
{
    const auto objects = m_plan.scan().objects();
    std::vector<ContentPlan::Fork> metadataForks;
    for (uint32_t index = 0; index < objects.size(); ++index) {
        if (!m_plan.holdsContent(index))
            continue;
        metadataForks.clear();
        m_plan.eachFork(index, [&](const ContentPlan::Fork& fork) {
            if (fork.kind != ContentPlan::Fork::Kind::data) {
                metadataForks.push_back(fork);
                return;
            }
            seekTo(fork);
            if (objects[index].isSymlink())
                writeLink(m_plan.scan().path(index), fork.size);
            else
                writeFile(m_plan.scan().path(index), fork.size);
        });
        if (!metadataForks.empty())
            writeMetadata(m_plan.scan().path(index), metadataForks);
    }
}

void ContentWriter::seekTo(const ContentPlan::Fork& fork)
{
    m_volume.seek(m_contentStart + uint64_t{fork.firstBlock} * m_plan.blockSize());
}

void ContentWriter::writeFile(const fs::path& path, uint64_t size)
{
    OpenFile file(path);
    if (!file.expectSize(size)) {
        copyData(file, m_volume, size);
    } else {
        // Reading a hole of gigabytes as zeros takes seconds.
        const uint64_t start = m_volume.position();
        for (uint64_t at = file.skipHole(0, size); at < size; at = file.skipHole(at, size)) {
            m_volume.seek(start + at);
            const uint64_t end = file.dataEnd(at, size);
            copyData(file, m_volume, end - at);
            at = end;
        }
        m_volume.seek(start + size);
    }
    file.expectSize(size);
}

void ContentWriter::writeLink(const fs::path& path, uint64_t size)
{
    std::vector<char> target(size + 1);
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    if (length < 0)
        throw SourceError(path, reasonFor(errno));
    if (static_cast<uint64_t>(length) != size)
        failChanged(path);
    m_volume.write(std::as_bytes(std::span(target)).first(size));
}

void ContentWriter::writeMetadata(const fs::path& path, std::span<const ContentPlan::Fork> forks)
try {
    const macfile::Metadata metadata = macfile::readMetadata(path);
    for (const ContentPlan::Fork& fork : forks) {
        std::span<const std::byte> value = metadata.resourceFork;
        if (fork.kind == ContentPlan::Fork::Kind::attribute) {
            const auto named = metadata.attributes.find(bytes::utf8FromUtf16(fork.attribute->name));
            if (named == metadata.attributes.end())
                failChanged(path);
            value = named->second;
        }
        if (value.size() != fork.size)
            failChanged(path);
        seekTo(fork);
        m_volume.write(value);
    }
} catch (const std::system_error& error) {
    throw SourceError(path, error.code().message());
}

} // namespace hfsplus
