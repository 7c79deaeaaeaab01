#include "Samples.h"

#include "bytes/ByteWriter.h"

#include <array>
#include <openssl/evp.h>

namespace samples {

using namespace finder;

std::vector<std::byte> fromHex(std::string_view digits)
{
    const auto nibble = [](char c) { return c <= '9' ? c - '0' : c - 'a' + 10; };
    std::vector<std::byte> out;
    bool upper = true;
    for (const char c : digits) {
        if (c == ' ')
            continue;
        if (upper)
            out.push_back(static_cast<std::byte>(nibble(c) << 4));
        else
            out.back() |= static_cast<std::byte>(nibble(c));
        upper = !upper;
    }
    return out;
}

std::string toHex(std::span<const std::byte> raw)
{
    std::string out;
    for (const std::byte value : raw) {
        out += "0123456789abcdef"[std::to_integer<unsigned>(value) >> 4];
        out += "0123456789abcdef"[std::to_integer<unsigned>(value) & 15];
    }
    return out;
}

std::string sha256(std::span<const std::byte> raw)
{
    std::array<unsigned char, 32> digest{};
    EVP_Digest(raw.data(), raw.size(), digest.data(), nullptr, EVP_sha256(), nullptr);
    return toHex(std::as_bytes(std::span(digest)));
}

AliasTarget demoPicture()
{
    return {.volumeName = "Demo",
        .volumeCreated = 0xE57CE625, // 2026-01-02 03:04:05
        .path = "/.background/bg.png",
        .created = 0xE57CE620,
        .id = 0x13,
        .folderIDs = {0x12}};
}

VolumeWindowStyle demoStyle()
{
    VolumeWindowStyle style;
    style.setBounds({400, 100, 1000, 500});
    style.window.showToolbar = false;
    style.icons.iconSize = 128;
    style.icons.textSize = 16;
    style.setBackground(aliasTo(demoPicture()));
    style.setPosition("Demo.app", {140, 178});
    style.setPosition("Applications", {460, 178});
    return style;
}

std::vector<std::byte> demoBookmark()
{
    bytes::ByteWriter body;
    const auto item = [&body](uint32_t type, std::string_view text) {
        const auto offset = static_cast<uint32_t>(body.size());
        body.u32le(static_cast<uint32_t>(text.size()));
        body.u32le(type);
        body.text(text);
        body.align(4);
        return offset;
    };
    constexpr uint32_t textType = 0x0101, arrayType = 0x0601;
    body.u32le(0); // the table's offset, known later
    std::array<uint32_t, 4> parts{};
    std::size_t count = 0;
    for (const char* part : {"Volumes", "Demo", ".background", "bg.png"})
        parts[count++] = item(textType, part);
    const auto path = static_cast<uint32_t>(body.size());
    body.u32le(16);
    body.u32le(arrayType);
    for (const uint32_t part : parts)
        body.u32le(part);
    const uint32_t volumePath = item(textType, "/Volumes/Demo");
    const uint32_t volumeName = item(textType, "Demo");

    const auto table = static_cast<uint32_t>(body.size());
    for (const uint32_t word : {12u + 12 * 3, 0xFFFFFFFEu, 1u, 0u, 3u, 0x1004u, path, 0u, 0x2002u,
             volumePath, 0u, 0x2010u, volumeName, 0u})
        body.u32le(word);

    bytes::ByteWriter out;
    out.text("book");
    out.u32le(static_cast<uint32_t>(48 + body.size()));
    out.u32le(0x10040000);
    out.u32le(48);
    out.padTo(48);
    out.u32le(table);
    out.raw(body.bytes().subspan(4));
    return out.take();
}

} // namespace samples
