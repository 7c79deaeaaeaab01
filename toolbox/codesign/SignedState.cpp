#include "codesign/SignedState.h"

#include "bytes/FormatError.h"
#include "codesign/BundleLayout.h"
#include "codesign/CodeError.h"
#include "codesign/EmbeddedSignature.h"
#include "macho/MachOFile.h"

namespace codesign {

namespace fs = std::filesystem;
using macho::MachOFile;

namespace {

EmbeddedSignature signatureOf(const bytes::ByteSource& file, const MachOFile::Part& part)
{
    const macho::SignaturePlace& place = *part.slice.signature;
    return EmbeddedSignature::read(
        file.read(part.extent.offset + place.offset, static_cast<std::size_t>(place.room)));
}

} // namespace

SignedState signedStateOf(const fs::path& machOFile)
{
    const auto source = bytes::File::open(machOFile, bytes::File::Mode::read);
    const MachOFile file = MachOFile::read(source);
    SignedState state = SignedState::notSigned;
    for (const MachOFile::Part& part : file.parts) {
        if (!part.slice.signature)
            continue;
        try {
            const EmbeddedSignature signature = signatureOf(source, part);
            const bool byLinker = (signature.best().content.flags & flagLinkerSigned) != 0;
            if (!byLinker)
                state = SignedState::isSigned;
            else if (state == SignedState::notSigned)
                state = SignedState::linkerSigned;
        } catch (const bytes::FormatError&) {
            return SignedState::broken;
        }
    }
    return state;
}

fs::path signatureCarrier(const fs::path& path)
{
    if (!fs::is_directory(path))
        return path;
    const auto layout = BundleLayout::of(path);
    if (!layout)
        throw CodeError(message::unsuitableBundle);
    return layout->executable;
}

SignedCode readSignedCode(const fs::path& path)
{
    const fs::path carrier = signatureCarrier(path);
    const auto source = bytes::File::open(carrier, bytes::File::Mode::read);
    const MachOFile file = MachOFile::read(source);

    SignedCode code;
    code.format = file.formatText();
    std::optional<Expression> designated;
    for (std::size_t i = 0; i < file.parts.size(); ++i) {
        // The slice that a current Mac runs comes first, as when signing.
        const std::size_t native = file.nativePart();
        const std::size_t at = i == 0 ? native : i <= native ? i - 1 : i;
        if (!file.parts[at].slice.signature)
            throw CodeError(message::notSigned);
        const EmbeddedSignature signature = signatureOf(source, file.parts[at]);
        if (i == 0) {
            code.identifier = signature.best().content.identifier;
            code.hash = signature.best().shortHash();
            if (const Blob* set = signature.parts.find(Slot::requirements))
                designated = designatedRequirement(*set);
        }
        for (const EmbeddedSignature::Directory* directory : signature.byHashType())
            code.hashes.push_back(directory->shortHash());
    }
    code.requirement = requirementTextOf(designated, code.hashes);
    return code;
}

} // namespace codesign
