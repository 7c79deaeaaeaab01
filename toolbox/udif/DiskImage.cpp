#include "udif/DiskImage.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "udif/ChunkedDisk.h"
#include "udif/ImageError.h"
#include "udif/Udif.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <mutex>
#include <optional>
#include <string_view>
#include <unistd.h>

namespace udif {

namespace fs = std::filesystem;

/// Members borrow from those before them, so that they stay where they are.
struct DiskImage::Parts {
    explicit Parts(bytes::File opened)
        : file(std::move(opened))
        , fileBytes(file.size())
    { }

    bytes::File file;
    uint64_t fileBytes;
    bool writable = false;
    std::optional<bytes::DeviceRange> rawDisk; // one of these two
    std::optional<ChunkedDisk> chunkedDisk;
    Udif udif;
    ImageFormat format = ImageFormat::UDRW;
    std::once_flag partitionsRead;
    PartitionMap partitions;
};

namespace {

bytes::File openRegularFile(const fs::path& path, DiskImage::Access access)
{
    const fs::file_status status = fs::status(path);
    if (status.type() == fs::file_type::not_found)
        throw fs::filesystem_error(
            "open", path, std::make_error_code(std::errc::no_such_file_or_directory));
    // Opening a pipe would wait for a writer that never comes.
    if (!fs::is_regular_file(status))
        throw ImageError(ImageError::Case::notRecognized);
    const bool write = access == DiskImage::Access::readWrite;
    return bytes::File::open(path, write ? bytes::File::Mode::readWrite : bytes::File::Mode::read);
}

bool isEncrypted(const bytes::ByteSource& file)
{
    constexpr std::string_view header = "encrcdsa";
    constexpr std::string_view footer = "cdsaencr"; // of the first version
    if (file.size() < header.size())
        return false;
    const auto has = [&](uint64_t offset, std::string_view word) {
        const auto raw = file.read(offset, word.size());
        return std::ranges::equal(raw, std::as_bytes(std::span(word)));
    };
    return has(0, header) || has(file.size() - footer.size(), footer);
}

/// The format whose compression most chunks have.
ImageFormat formatOf(const Udif& image)
{
    std::map<ChunkType, std::size_t> counts;
    for (const BlockTable& table : image.tables)
        for (const Chunk& chunk : table.chunks)
            if (chunk.isStored() && chunk.type != ChunkType::raw)
                ++counts[chunk.type];
    const auto most =
        std::ranges::max_element(counts, {}, [](auto& entry) { return entry.second; });
    if (most == counts.end())
        return ImageFormat::UDRO;
    return std::ranges::find(formats, most->first, &FormatFacts::chunkType)->format;
}

} // namespace

DiskImage DiskImage::open(const fs::path& path, Access access)
{
    auto parts = std::make_unique<Parts>(openRegularFile(path, access));
    if (isEncrypted(parts->file))
        throw ImageError(ImageError::Case::encrypted);

    if (hasTrailer(parts->file)) {
        if (access == Access::readWrite)
            throw ImageError(ImageError::Case::notWritable);
        parts->udif = readUdif(parts->file);
        parts->chunkedDisk.emplace(parts->file, parts->udif);
        parts->format = formatOf(parts->udif);
        return DiskImage(std::move(parts));
    }

    if (parts->fileBytes == 0 || parts->fileBytes % sectorBytes != 0)
        throw ImageError(ImageError::Case::notRecognized);
    parts->rawDisk.emplace(parts->file, 0, parts->fileBytes);
    parts->writable = access == Access::readWrite;
    DiskImage image(std::move(parts));
    if (image.partitions().scheme == PartitionScheme::unknown)
        throw ImageError(ImageError::Case::notRecognized);
    return image;
}

DiskImage::DiskImage(std::unique_ptr<Parts> parts)
    : m_parts(std::move(parts))
{ }

DiskImage::DiskImage(DiskImage&&) noexcept = default;
DiskImage& DiskImage::operator=(DiskImage&&) noexcept = default;
DiskImage::~DiskImage() = default;

const fs::path& DiskImage::path() const
{
    return m_parts->file.path();
}

const FormatFacts& DiskImage::format() const
{
    return factsOf(m_parts->format);
}

uint64_t DiskImage::sectorCount() const
{
    return disk().size() / sectorBytes;
}

uint64_t DiskImage::fileBytes() const
{
    return m_parts->fileBytes;
}

const PartitionMap& DiskImage::partitions() const
{
    std::call_once(
        m_parts->partitionsRead, [&] { m_parts->partitions = readPartitionMap(disk()); });
    return m_parts->partitions;
}

const bytes::ByteSource& DiskImage::disk() const
{
    if (m_parts->chunkedDisk)
        return *m_parts->chunkedDisk;
    return *m_parts->rawDisk;
}

bytes::ByteDevice& DiskImage::writableDisk()
{
    if (!m_parts->writable)
        throw ImageError(ImageError::Case::notWritable);
    return *m_parts->rawDisk;
}

bool DiskImage::knownZero(uint64_t offset, uint64_t length) const
{
    if (m_parts->chunkedDisk)
        return m_parts->chunkedDisk->isEmpty(offset, length);
    const off_t data = ::lseek(m_parts->file.descriptor(), static_cast<off_t>(offset), SEEK_DATA);
    if (data < 0)
        return errno == ENXIO && offset < m_parts->fileBytes;
    return static_cast<uint64_t>(data) >= offset + length;
}

const Udif* DiskImage::udif() const
{
    return m_parts->chunkedDisk ? &m_parts->udif : nullptr;
}

const bytes::ByteSource& DiskImage::file() const
{
    return m_parts->file;
}

} // namespace udif
