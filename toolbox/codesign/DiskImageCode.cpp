#include "codesign/DiskImageCode.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "codesign/FileReplacement.h"
#include "udif/Udif.h"

#include <algorithm>

namespace codesign {

using bytes::FormatError;
using udif::KolyTrailer;

namespace {

constexpr const char* unsuitable = "disk image format unrecognized, invalid, or unsuitable";
/// A signature of an image is a few kilobytes; a ticket makes it a little more.
constexpr uint64_t longestSignature = 16U << 20;

} // namespace

std::optional<DiskImageCode> DiskImageCode::read(const bytes::ByteSource& source)
{
    if (!udif::hasTrailer(source))
        return std::nullopt;
    DiskImageCode code;
    const uint64_t end = source.size() - sizeof(KolyTrailer);
    code.trailer = source.read(end, sizeof(KolyTrailer));
    const auto trailer = bytes::recordAt<KolyTrailer>(code.trailer);
    if (trailer.signatureOffset == 0) {
        code.signedLength = end;
        return code;
    }
    const uint64_t offset = trailer.signatureOffset;
    const uint64_t length = trailer.signatureLength;
    if (length > longestSignature || offset > end || end - offset != length)
        throw FormatError(unsuitable); // the tool says no more
    code.signedLength = offset;
    code.signature = source.read(offset, static_cast<std::size_t>(length));
    return code;
}

std::vector<std::byte> DiskImageCode::coveredTrailer() const
{
    auto record = bytes::recordAt<KolyTrailer>(trailer);
    record.signatureOffset = signedLength;
    record.signatureLength = 0;
    const auto raw = bytes::recordBytes(record);
    return {raw.begin(), raw.end()};
}

void DiskImageCode::writeSigned(const std::filesystem::path& path, const Blob& newSignature) const
{
    FileReplacement replacement(path);
    replacement.copyHead(signedLength);
    auto record = bytes::recordAt<KolyTrailer>(trailer);
    record.signatureOffset = newSignature.empty() ? 0 : signedLength;
    record.signatureLength = newSignature.size();
    replacement.file().writeAt(signedLength, newSignature);
    replacement.file().writeAt(signedLength + newSignature.size(), bytes::recordBytes(record));
    replacement.finish();
    replacement.commit();
}

} // namespace codesign
