#include "codesign/StaticCode.h"

#include "bytes/FormatError.h"
#include "codesign/CodeError.h"

namespace codesign {

namespace fs = std::filesystem;
using bytes::FormatError;
using macho::MachOFile;

namespace {

void readSlices(StaticCode& code)
{
    const MachOFile file = MachOFile::read(*code.source);
    code.format = file.formatText();
    for (const MachOFile::Part& part : file.parts) {
        StaticCode::Part one;
        one.architecture = part.slice.architecture.name();
        one.offset = part.extent.offset;
        one.size = part.extent.size;
        one.slice = part.slice;
        if (const auto& place = part.slice.signature) {
            try {
                one.signature = EmbeddedSignature::read(code.source->read(
                    one.offset + place->offset, static_cast<std::size_t>(place->room)));
            } catch (const FormatError&) {
                throw CodeError(message::badSignatureFormat).in(one.architecture);
            }
        }
        code.parts.push_back(std::move(one));
    }
    std::swap(code.parts.front(), code.parts[file.nativePart()]);
}

void readImage(StaticCode& code)
{
    code.format = "disk image";
    StaticCode::Part whole;
    whole.size = code.image->signedLength;
    if (!code.image->signature.empty()) {
        try {
            whole.signature = EmbeddedSignature::read(code.image->signature, true);
        } catch (const FormatError&) {
            throw CodeError(message::badSignatureFormat);
        }
    }
    code.parts.push_back(std::move(whole));
}

} // namespace

StaticCode StaticCode::read(const fs::path& path)
{
    StaticCode code;
    code.path = path;
    code.bundle = BundleLayout::of(path);
    if (fs::is_directory(path) && !code.bundle)
        throw CodeError(message::unsuitableBundle);
    code.carrier = code.bundle ? code.bundle->executable : fs::canonical(path);
    if (code.bundle && !fs::exists(code.carrier)) {
        throw CodeError(
            code.bundle->hasReadableInfo ? message::unsuitableBundle : message::infoModified);
    }
    code.source =
        std::make_unique<bytes::File>(bytes::File::open(code.carrier, bytes::File::Mode::read));

    try {
        if (!code.bundle)
            code.image = DiskImageCode::read(*code.source);
    } catch (const FormatError&) {
        throw CodeError("disk image format unrecognized, invalid, or unsuitable");
    }
    if (code.image) {
        readImage(code);
        return code;
    }
    if (!MachOFile::isMachO(*code.source))
        throw CodeError(code.bundle ? message::unsuitableBundle : message::notSigned);
    readSlices(code);
    if (code.bundle) {
        code.format = (code.bundle->packageType() == "APPL" ? "app bundle with " : "bundle with ")
            + code.format;
    }
    return code;
}

std::vector<std::byte> StaticCode::infoPlist() const
{
    if (bundle) {
        const auto file = bytes::File::open(bundle->infoFile, bytes::File::Mode::read);
        return file.read(0, static_cast<std::size_t>(file.size()));
    }
    const auto& info = parts.front().slice.infoPlist;
    if (!info)
        return {};
    return source->read(parts.front().offset + info->offset, static_cast<std::size_t>(info->size));
}

} // namespace codesign
