#include "SparseInput.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"

#include <algorithm>

namespace fuzz {

namespace {

constexpr std::size_t sectorBytes = 512;
constexpr std::size_t mostSectors = 2048;
constexpr std::size_t pieceHeader = 6;
constexpr std::size_t longestPiece = 0xFFFF;

bool isZero(std::byte value)
{
    return value == std::byte{0};
}

} // namespace

std::vector<std::byte> expanded(std::span<const std::byte> input)
{
    bytes::ByteReader in(input);
    if (in.remaining() < 2)
        return {};
    std::vector<std::byte> volume(sectorBytes * (in.u16le() % (mostSectors + 1)));
    while (in.remaining() > pieceHeader) {
        const std::size_t offset = in.u32le();
        const std::size_t length = std::min<std::size_t>(in.u16le(), in.remaining());
        const auto piece = in.take(length);
        if (offset < volume.size())
            std::ranges::copy(piece.first(std::min(length, volume.size() - offset)),
                volume.begin() + static_cast<std::ptrdiff_t>(offset));
    }
    return volume;
}

std::vector<std::byte> packed(std::span<const std::byte> volume)
{
    bytes::ByteWriter out;
    out.u16le(static_cast<uint16_t>(volume.size() / sectorBytes));
    std::size_t at = 0;
    while (true) {
        const auto start = std::ranges::find_if_not(volume.subspan(at), isZero);
        at = static_cast<std::size_t>(start - volume.begin());
        if (at == volume.size())
            return out.take();
        // A new piece costs its header: shorter runs of zeros stay inside.
        const std::vector<std::byte> gap(pieceHeader + 2);
        const auto rest = volume.subspan(at, std::min(longestPiece, volume.size() - at));
        const auto length = static_cast<std::size_t>(
            std::search(rest.begin(), rest.end(), gap.begin(), gap.end()) - rest.begin());
        out.u32le(static_cast<uint32_t>(at));
        out.u16le(static_cast<uint16_t>(length));
        out.raw(rest.first(length));
        at += length;
    }
}

} // namespace fuzz
