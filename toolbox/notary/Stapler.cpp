#include "notary/Stapler.h"

#include "bytes/FormatError.h"

#include <sys/stat.h>

namespace notary {

namespace fs = std::filesystem;
using codesign::Magic;
using codesign::Slot;
using codesign::StaticCode;

namespace {

constexpr uint64_t longestTicket = 1 << 20;

fs::path placeIn(const codesign::BundleLayout& bundle)
{
    return bundle.sealRoot / "CodeResources";
}

void stapleBundle(const codesign::BundleLayout& bundle, std::span<const std::byte> ticket)
{
    bytes::OutputFile output(placeIn(bundle));
    output.file().writeAt(0, ticket);
    if (::fchmod(output.file().descriptor(), 0644) != 0)
        bytes::throwErrno(placeIn(bundle).string());
    output.commit(true);
}

void stapleImage(const StaticCode& code, std::span<const std::byte> ticket)
{
    codesign::SuperBlob parts = code.parts.front().signature->parts;
    parts.blobs[static_cast<uint32_t>(Slot::ticket)] = codesign::makeBlob(Magic::wrapper, ticket);
    code.image->writeSigned(code.carrier, parts.write());
}

} // namespace

bool canCarryTicket(const StaticCode& code)
{
    if (code.bundle)
        return !code.bundle->isFlat && !code.bundle->isFramework;
    return code.image.has_value();
}

std::optional<std::vector<std::byte>> stapledTicket(const StaticCode& code)
{
    if (code.image && code.isSigned()) {
        const codesign::Blob* blob = code.parts.front().signature->parts.find(Slot::ticket);
        if (blob == nullptr)
            return std::nullopt;
        const auto ticket = codesign::blobContent(*blob, Magic::wrapper);
        return std::vector<std::byte>(ticket.begin(), ticket.end());
    }
    // Bundles of long ago have a link there, which leads to their seal.
    if (!code.bundle || !canCarryTicket(code)
        || !fs::is_regular_file(fs::symlink_status(placeIn(*code.bundle))))
        return std::nullopt;
    const auto file = bytes::File::open(placeIn(*code.bundle), bytes::File::Mode::read);
    if (file.size() > longestTicket)
        throw bytes::FormatError("Contents/CodeResources is too long for a ticket");
    return file.read(0, static_cast<std::size_t>(file.size()));
}

void staple(const StaticCode& code, std::span<const std::byte> ticket)
{
    if (code.bundle)
        stapleBundle(*code.bundle, ticket);
    else
        stapleImage(code, ticket);
}

} // namespace notary
