#include "FuzzInput.h"

#include "macho/MachOFile.h"
#include "macho/SignatureSpace.h"

namespace {

constexpr uint64_t room = 512;

macho::Slice applied(const bytes::ByteSource& slice, const macho::SlicePlan& plan)
{
    bytes::MemoryDevice out{std::vector<std::byte>(plan.size)};
    writePlanned(slice, plan, out, 0);
    return macho::Slice::read(out);
}

void makeRoom(const bytes::ByteSource& source, const macho::Slice& slice)
{
    const macho::SlicePlan plan = planSignature(slice, room);
    const macho::Slice signable = applied(source, plan);
    fuzz::insist(signable.signature && signable.signature->room == room
            && signable.signature->offset == plan.signatureOffset,
        "room that was made for a signature is there");
}

} // namespace

FUZZ_TARGET(macho, input)
{
    const bytes::MemoryDevice source(fuzz::copyOf(input));
    fuzz::accepts([&] {
        if (!macho::MachOFile::isMachO(source))
            throw bytes::FormatError("not a Mach-O file");
        const macho::MachOFile file = macho::MachOFile::read(source);
        file.formatText();
        fuzz::insist(file.nativePart() < file.parts.size(), "one part is the native one");
        for (const macho::MachOFile::Part& part : file.parts) {
            const bytes::SourceRange slice(source, part.extent.offset, part.extent.size);
            makeRoom(slice, part.slice);
            fuzz::insist(!applied(slice, planRemoval(part.slice)).signature,
                "a signature that was taken away is gone");
        }
    });
}
