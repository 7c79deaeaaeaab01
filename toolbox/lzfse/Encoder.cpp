#include "lzfse/Encoder.h"

#include "bytes/StoredInteger.h"
#include "lzfse/BlockEncoder.h"
#include "lzfse/LzvnEncoder.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace lzfse {

namespace {

constexpr std::size_t storedLimit = 8; // shorter contents aren't worth a search
constexpr std::size_t lzvnLimit = 4096;

template <typename Record>
void append(std::vector<std::byte>& out, const Record& record)
{
    const auto raw = bytes::recordBytes(record);
    out.insert(out.end(), raw.begin(), raw.end());
}

void appendStored(std::span<const std::byte> content, std::vector<std::byte>& out)
{
    append(out,
        StoredBlock{.magic = static_cast<uint32_t>(Magic::stored),
            .rawBytes = static_cast<uint32_t>(content.size())});
    out.insert(out.end(), content.begin(), content.end());
}

void appendLzvn(std::span<const std::byte> content, Parser& parser, std::vector<std::byte>& out)
{
    out.resize(sizeof(LzvnBlock));
    LzvnEncoder encoder(out);
    parser.parse(content, encoder);
    encoder.finish();
    const LzvnBlock block{.magic = static_cast<uint32_t>(Magic::lzvn),
        .rawBytes = static_cast<uint32_t>(content.size()),
        .payloadBytes = static_cast<uint32_t>(out.size() - sizeof(LzvnBlock))};
    std::ranges::copy(bytes::recordBytes(block), out.begin());
}

void appendCoded(std::span<const std::byte> content, Parser& parser, std::vector<std::byte>& out)
{
    BlockEncoder encoder(out);
    parser.parse(content, encoder);
    encoder.finish();
}

} // namespace

std::vector<std::byte> Encoder::encode(std::span<const std::byte> content)
{
    if (content.size() > std::numeric_limits<int32_t>::max())
        throw std::length_error("a content of 2 GiB or more can't be one LZFSE stream");
    std::vector<std::byte> out;
    out.reserve(content.size() / 2 + sizeof(StoredBlock));
    if (content.size() >= lzvnLimit)
        appendCoded(content, m_parser, out);
    else if (content.size() >= storedLimit)
        appendLzvn(content, m_parser, out);
    const bool isSmaller = !out.empty() && out.size() < content.size() + sizeof(StoredBlock);
    if (!content.empty() && !isSmaller) {
        out.clear();
        appendStored(content, out);
    }
    append(out, bytes::le32(static_cast<uint32_t>(Magic::end)));
    return out;
}

} // namespace lzfse
