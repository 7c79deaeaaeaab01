#include "keychain/CodeAttributes.h"

#include <algorithm>
#include <openssl/evp.h>
#include <openssl/objects.h>

namespace keychain {

namespace {

constexpr std::size_t shortHashSize = 20;
constexpr std::string_view listKey = "<key>cdhashes</key>";
constexpr std::string_view dataStart = "<data>";
constexpr std::string_view dataEnd = "</data>";

/// Indexed by the number of the hash kind in a code directory.
constexpr int hashKinds[] = {NID_undef, NID_sha1, NID_sha256, NID_sha256, NID_sha384, NID_sha512};

std::string shortHashText(const CodeHash& codeHash)
{
    const std::size_t size = std::min(codeHash.full.size(), shortHashSize);
    unsigned char text[shortHashSize * 2];
    const int length = EVP_EncodeBlock(
        text, reinterpret_cast<const unsigned char*>(codeHash.full.data()), static_cast<int>(size));
    return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)};
}

void appendElement(std::vector<std::byte>& out, int tag, std::span<const std::byte> content)
{
    out.push_back(static_cast<std::byte>(tag));
    out.push_back(static_cast<std::byte>(content.size())); // always below 128
    out.insert(out.end(), content.begin(), content.end());
}

} // namespace

std::string hashListOf(std::span<const CodeHash> codeHashes)
{
    std::string list = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                       "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                       "<plist version=\"1.0\">\n<dict>\n\t<key>cdhashes</key>\n\t<array>\n";
    for (const CodeHash& codeHash : codeHashes)
        list += "\t\t<data>\n\t\t" + shortHashText(codeHash) + "\n\t\t</data>\n";
    return list + "\t</array>\n</dict>\n</plist>\n";
}

bool isHashListOf(std::string_view list, std::span<const CodeHash> codeHashes)
{
    // Other signers indent differently; what counts is the text of the data elements.
    std::size_t at = list.find(listKey);
    if (at == std::string_view::npos)
        return false;
    std::vector<std::string> found;
    while ((at = list.find(dataStart, at)) != std::string_view::npos) {
        at += dataStart.size();
        const std::size_t end = list.find(dataEnd, at);
        if (end == std::string_view::npos)
            return false;
        std::string text(list.substr(at, end - at));
        std::erase_if(text, [](char letter) {
            return letter == ' ' || letter == '\t' || letter == '\n' || letter == '\r';
        });
        found.push_back(std::move(text));
        at = end;
    }
    return std::ranges::equal(found, codeHashes, {}, {}, shortHashText);
}

std::optional<std::vector<std::byte>> hashValueOf(const CodeHash& codeHash)
{
    if (codeHash.hashType >= std::size(hashKinds) || codeHash.full.size() > EVP_MAX_MD_SIZE)
        return std::nullopt;
    const int kind = hashKinds[codeHash.hashType];
    if (kind == NID_undef)
        return std::nullopt;
    const ASN1_OBJECT* object = OBJ_nid2obj(kind);
    std::vector<std::byte> content;
    appendElement(content, V_ASN1_OBJECT,
        std::as_bytes(std::span(OBJ_get0_data(object), OBJ_length(object))));
    appendElement(content, V_ASN1_OCTET_STRING, codeHash.full);
    std::vector<std::byte> value;
    appendElement(value, V_ASN1_SEQUENCE | V_ASN1_CONSTRUCTED, content);
    return value;
}

} // namespace keychain
