#include "hfsplus/Journal.h"

#include "bytes/ByteReader.h"

namespace hfsplus {

namespace {

constexpr uint32_t journalInVolume = 1, journalNeedsInit = 4;
constexpr uint32_t journalMagic = 0x4A4E4C78; // "JNLx"
constexpr std::size_t offsetField = 36; // behind the flags and 32 bytes of device signature

} // namespace

bool journalHasEntries(const bytes::ByteSource& source, const VolumeHeader& header)
{
    if ((header.attributes & volumeJournaled) == 0 || header.journalInfoBlock == 0)
        return false;
    const uint64_t infoAt = uint64_t{header.journalInfoBlock} * header.blockSize;
    const auto info = source.read(infoAt, offsetField + 16);
    bytes::ByteReader in(info, infoAt);
    const uint32_t flags = in.u32();
    if ((flags & journalNeedsInit) != 0)
        return false;
    if ((flags & journalInVolume) == 0)
        return true; // on a device that isn't here
    in.seek(offsetField);
    const uint64_t journalAt = in.u64();
    const auto head = source.read(journalAt, 24);
    bytes::ByteReader big(head, journalAt), little(head, journalAt);
    // Written in the byte order of the machine that used it; the number says which.
    if (big.u32() == journalMagic) {
        big.skip(4);
        return big.u64() != big.u64();
    }
    if (little.u32le() != journalMagic)
        little.fail("no journal where the volume says it has one");
    little.skip(4);
    return little.u64le() != little.u64le();
}

} // namespace hfsplus
