#include "hfsplus/ContentWriter.h"

#include "bytes/OrderedPipeline.h"
#include "bytes/Unicode.h"
#include "hfsplus/VolumeStream.h"
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

/// Large enough for many small files, and small enough that all threads end together.
constexpr uint64_t portionBytes = uint64_t{4} << 20;

/// A file of the host while it is read.
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

    /// Where data goes on at `position` or behind it; `end` where none does before.
    uint64_t nextData(uint64_t position, uint64_t end) const
    {
        const off_t data = ::lseek(m_descriptor, static_cast<off_t>(position), SEEK_DATA);
        if (data < 0)
            return errno == ENXIO ? end : position; // or a host without holes
        return std::min(static_cast<uint64_t>(data), end);
    }

    /// Where the data at `position` ends and a hole begins.
    uint64_t dataEnd(uint64_t position, uint64_t end) const
    {
        const off_t hole = ::lseek(m_descriptor, static_cast<off_t>(position), SEEK_HOLE);
        const bool isKnown = hole > static_cast<off_t>(position);
        return isKnown ? std::min(static_cast<uint64_t>(hole), end) : end;
    }

    /// At least one byte.
    std::size_t read(uint64_t position, std::span<std::byte> out) const
    {
        for (;;) {
            const ssize_t count =
                ::pread(m_descriptor, out.data(), out.size(), static_cast<off_t>(position));
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

void copyData(const OpenFile& file, VolumeStream& volume, uint64_t start, uint64_t end)
{
    while (start < end) {
        const std::span<std::byte> room = volume.room();
        const std::size_t count =
            file.read(start, room.first(std::min<uint64_t>(room.size(), end - start)));
        volume.advance(count);
        start += count;
    }
}

} // namespace

/// Copies portions; each thread has one.
class ContentWriter::Thread {
public:
    explicit Thread(const ContentWriter& writer)
        : m_plan(writer.m_plan)
        , m_contentStart(writer.m_contentStart)
        , m_volume(writer.m_volume, 0)
    { }

    uint64_t copy(const Portion& portion)
    {
        for (uint32_t index = portion.first; index < portion.end; ++index) {
            if (m_plan.holdsContent(index))
                copyObject(index, portion);
        }
        m_volume.flush();
        return portion.length;
    }

private:
    void copyObject(uint32_t index, const Portion& portion);
    void copyFile(const fs::path& path, uint64_t size, const Portion& portion);
    void copyLink(const fs::path& path, uint64_t size);
    /// Resource fork and large attributes.
    void copyMetadata(const fs::path& path, std::span<const ContentPlan::Fork> forks);
    void seekTo(const ContentPlan::Fork& fork, uint64_t start = 0)
    {
        m_volume.seek(m_contentStart + uint64_t{fork.firstBlock} * m_plan.blockSize() + start);
    }

    const ContentPlan& m_plan;
    uint64_t m_contentStart;
    VolumeStream m_volume;
};

void ContentWriter::Thread::copyObject(uint32_t index, const Portion& portion)
{
    const fs::path path = m_plan.scan().path(index);
    std::vector<ContentPlan::Fork> metadataForks;
    m_plan.eachFork(index, [&](const ContentPlan::Fork& fork) {
        if (fork.kind != ContentPlan::Fork::Kind::data) {
            metadataForks.push_back(fork);
            return;
        }
        seekTo(fork, portion.start);
        if (m_plan.scan().objects()[index].isSymlink())
            copyLink(path, fork.size);
        else
            copyFile(path, fork.size, portion);
    });
    const bool isLast = portion.start + portion.length >= m_plan.scan().objects()[index].size;
    if (!metadataForks.empty() && isLast)
        copyMetadata(path, metadataForks);
}

void ContentWriter::Thread::copyFile(const fs::path& path, uint64_t size, const Portion& portion)
{
    const OpenFile file(path);
    const uint64_t start = portion.start;
    const uint64_t end = std::min(size, start + portion.length);
    if (!file.expectSize(size)) {
        copyData(file, m_volume, start, end);
    } else {
        // Reading a hole of gigabytes as zeros takes seconds.
        const uint64_t origin = m_volume.position() - start;
        for (uint64_t at = file.nextData(start, end); at < end; at = file.nextData(at, end)) {
            m_volume.seek(origin + at);
            const uint64_t dataEnd = file.dataEnd(at, end);
            copyData(file, m_volume, at, dataEnd);
            at = dataEnd;
        }
        m_volume.seek(origin + end);
    }
    file.expectSize(size);
}

void ContentWriter::Thread::copyLink(const fs::path& path, uint64_t size)
{
    std::vector<char> target(size + 1);
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    if (length < 0)
        throw SourceError(path, reasonFor(errno));
    if (static_cast<uint64_t>(length) != size)
        failChanged(path);
    m_volume.write(std::as_bytes(std::span(target)).first(size));
}

void ContentWriter::Thread::copyMetadata(
    const fs::path& path, std::span<const ContentPlan::Fork> forks)
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

ContentWriter::ContentWriter(
    const ContentPlan& plan, bytes::ByteDevice& volume, uint64_t contentStart)
    : m_plan(plan)
    , m_volume(volume)
    , m_contentStart(contentStart)
{ }

void ContentWriter::writeAll(const Progress& progress) const
{
    const std::vector<Portion> all = portions();
    uint64_t inAll = 0;
    for (const Portion& portion : all)
        inAll += portion.length;
    uint64_t done = 0;
    bytes::OrderedPipeline(0).run(
        all.size(),
        [this, &all] {
            return [&all, thread = Thread(*this)](
                       uint64_t job) mutable { return thread.copy(all[job]); };
        },
        [&](uint64_t, uint64_t length) {
            done += length;
            if (progress)
                progress(done, inAll);
        });
}

std::vector<ContentWriter::Portion> ContentWriter::portions() const
{
    std::vector<Portion> portions;
    Portion group;
    const auto close = [&](uint32_t next) {
        if (group.end > group.first)
            portions.push_back(group);
        group = {.first = next, .end = next};
    };
    const auto objects = m_plan.scan().objects();
    for (uint32_t index = 0; index < objects.size(); ++index) {
        const uint64_t size = m_plan.holdsContent(index) ? objects[index].size : 0;
        if (size <= portionBytes) {
            group.end = index + 1;
            group.length += size;
            if (group.length >= portionBytes)
                close(index + 1);
            continue;
        }
        close(index);
        for (uint64_t start = 0; start < size; start += portionBytes)
            portions.push_back({index, index + 1, start, std::min(portionBytes, size - start)});
        close(index + 1);
    }
    close(0);
    return portions;
}

} // namespace hfsplus
