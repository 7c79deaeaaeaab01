#include "Contents.h"

#include "bytes/ByteReader.h"
#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "lzfse/BlockHeader.h"
#include "lzfse/Decoder.h"
#include "lzfse/Limits.h"

#include <algorithm>
#include <array>
#include <random>

namespace testing_lzfse {

Bytes fromHex(std::string_view digits)
{
    Bytes out;
    while (!digits.empty()) {
        if (digits[0] == ' ') {
            digits.remove_prefix(1);
        } else if (digits.starts_with("00*")) {
            std::size_t used = 0;
            out.resize(out.size() + std::stoul(std::string(digits.substr(3)), &used));
            digits.remove_prefix(3 + used);
        } else {
            const std::string pair(digits.substr(0, 2));
            out.push_back(static_cast<std::byte>(std::stoi(pair, nullptr, 16)));
            digits.remove_prefix(2);
        }
    }
    return out;
}

Bytes fromText(std::string_view text)
{
    const auto raw = std::as_bytes(std::span(text));
    return {raw.begin(), raw.end()};
}

Bytes noise(std::size_t length, uint64_t seed)
{
    std::mt19937_64 random(seed);
    Bytes out(length);
    std::ranges::generate(out, [&] { return static_cast<std::byte>(random() >> 32); });
    return out;
}

Bytes words(std::size_t length, uint64_t seed)
{
    constexpr std::array list{"image ", "of ", "the ", "application, ", "and ", "window ",
        "opens\n", "with ", "icons ", "in ", "their ", "places. ", "Disk ", "volume ", "0x40 ",
        "a "};
    std::mt19937_64 random(seed);
    std::string text;
    while (text.size() < length)
        text += list[random() % list.size()];
    text.resize(length);
    return fromText(text);
}

Bytes machineCode(std::size_t limit)
{
    const auto file = bytes::File::open("/proc/self/exe", bytes::File::Mode::read);
    return file.read(0, std::min<uint64_t>(file.size(), limit));
}

Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes decoded(std::span<const std::byte> stream, std::size_t length)
{
    Bytes content(length);
    if (lzfse::decode(stream, content) != length)
        throw bytes::FormatError("the stream is shorter");
    return content;
}

std::string blockKinds(std::span<const std::byte> stream)
{
    bytes::ByteReader in(stream);
    std::string kinds;
    for (;;) {
        const auto start = in.mark();
        kinds += in.text(4).back();
        in.seek(start);
        if (kinds.back() == '$') {
            return kinds;
        } else if (kinds.back() == '-') {
            in.skip(in.record<lzfse::StoredBlock>().rawBytes);
        } else if (kinds.back() == 'n') {
            in.skip(in.record<lzfse::LzvnBlock>().payloadBytes);
        } else {
            const lzfse::BlockHeader header = lzfse::readPackedHeader(in);
            in.skip(header.literalPayloadBytes + header.lmdPayloadBytes);
        }
    }
}

} // namespace testing_lzfse
