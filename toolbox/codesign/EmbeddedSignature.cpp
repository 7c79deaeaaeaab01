#include "codesign/EmbeddedSignature.h"

#include "bytes/FormatError.h"

#include <algorithm>

namespace codesign {

EmbeddedSignature EmbeddedSignature::read(std::span<const std::byte> raw, bool strict)
{
    EmbeddedSignature signature;
    signature.parts = SuperBlob::read(raw, Magic::embeddedSignature, strict);

    const auto add = [&signature](uint32_t slot) {
        const auto found = signature.parts.blobs.find(slot);
        if (found != signature.parts.blobs.end())
            signature.directories.push_back({CodeDirectory::read(found->second), found->second});
    };
    add(static_cast<uint32_t>(Slot::codeDirectory));
    if (signature.directories.empty())
        throw bytes::FormatError("the signature has no code directory");
    for (uint32_t i = 0; i < mostAlternates; ++i)
        add(static_cast<uint32_t>(Slot::alternateCodeDirectories) + i);
    signature.cms(); // throws when the wrapper is none
    return signature;
}

const EmbeddedSignature::Directory& EmbeddedSignature::best() const
{
    return *std::ranges::max_element(directories, {},
        [](const Directory& directory) { return strengthOf(directory.content.hashType); });
}

std::vector<const EmbeddedSignature::Directory*> EmbeddedSignature::byHashType() const
{
    std::vector<const Directory*> sorted;
    for (const Directory& directory : directories)
        sorted.push_back(&directory);
    std::ranges::stable_sort(
        sorted, {}, [](const Directory* directory) { return directory->content.hashType; });
    return sorted;
}

std::span<const std::byte> EmbeddedSignature::cms() const
{
    const Blob* wrapper = parts.find(Slot::signature);
    if (wrapper == nullptr)
        return {};
    return blobContent(*wrapper, Magic::wrapper);
}

} // namespace codesign
