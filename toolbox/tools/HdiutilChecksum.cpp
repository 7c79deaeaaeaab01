#include "bytes/Crc32.h"
#include "codesign/Digest.h"
#include "plist/PropertyList.h"
#include "tools/HdiutilVerbs.h"
#include "tools/Text.h"
#include "udif/DiskImage.h"

#include <algorithm>
#include <functional>
#include <ostream>
#include <vector>

namespace tools {

namespace {

using codesign::HashType;

struct Type {
    std::string_view name;
    std::optional<HashType> hash; // none: CRC-32
};
constexpr std::array types{
    Type{"CRC32", std::nullopt},
    Type{"UDIF-CRC32", std::nullopt},
    Type{"SHA", HashType::sha1},
    Type{"SHA1", HashType::sha1},
    Type{"SHA256", HashType::sha256},
    Type{"SHA384", HashType::sha384},
    Type{"SHA512", HashType::sha512},
};

const Type& typeNamed(const std::string& name)
{
    const auto found = std::ranges::find(types, name, &Type::name);
    if (found == types.end())
        throw UsageError("-type " + name + ": this version doesn't calculate such a checksum");
    return *found;
}

/// The disk, which is read front to back and shown as it is.
class WatchedDisk final : public bytes::ByteSource {
public:
    WatchedDisk(const bytes::ByteSource& disk, Progress& progress)
        : m_disk(disk)
        , m_progress(progress)
    { }
    uint64_t size() const override { return m_disk.size(); }
    void readAt(uint64_t offset, std::span<std::byte> out) const override
    {
        m_disk.readAt(offset, out);
        m_progress(offset + out.size(), size());
    }

private:
    const bytes::ByteSource& m_disk;
    Progress& m_progress;
};

std::string crcOf(const bytes::ByteSource& disk)
{
    constexpr uint64_t pieceBytes = uint64_t{1} << 20;
    std::vector<std::byte> piece(pieceBytes);
    uint32_t crc = 0;
    for (uint64_t at = 0; at < disk.size(); at += pieceBytes) {
        const std::span part(
            piece.data(), static_cast<std::size_t>(std::min(pieceBytes, disk.size() - at)));
        disk.readAt(at, part);
        crc = bytes::crc32(part, crc);
    }
    return crcText(crc).substr(6);
}

} // namespace

int printChecksum(Session& session)
{
    const Arguments& arguments = session.arguments;
    const Type& type = typeNamed(arguments.required("-type"));
    const auto path = session.hostPath(arguments.onlyOperand());
    if (session.volumes.isBeingWritten(path))
        throw volumes::VolumeError(volumes::VolumeError::Case::attachedAlready);
    const udif::DiskImage image = udif::DiskImage::open(path);

    const auto progress = session.progress();
    const WatchedDisk disk(image.disk(), *progress);
    const std::string value = type.hash
        ? codesign::hexOf(codesign::digestOf(*type.hash, disk, disk.size()))
        : crcOf(disk);
    progress->pause();
    const std::string name(type.name);
    if (arguments.has("-plist"))
        session.out << plist::writeXml(
            plist::Dictionary{{"checksum-type", name}, {"checksum-value", value}});
    else
        session.out << name << ' ' << value << '\n';
    return 0;
}

} // namespace tools
