#include "FuzzInput.h"

#include "codesign/EmbeddedSignature.h"
#include "codesign/Entitlements.h"
#include "codesign/Requirement.h"

using namespace codesign;

namespace {

void look(const EmbeddedSignature& signature)
{
    for (const EmbeddedSignature::Directory* directory : signature.byHashType()) {
        const CodeDirectory& content = directory->content;
        flagsText(content.flags);
        fuzz::insist(content.specialSlots() <= directory->blob.size(), "slots lie in the blob");
        for (std::size_t slot = 0; slot < content.codeSlots(); ++slot)
            content.codeHash(slot);
        content.pageSize();
        directory->shortHash();
    }
    signature.best();
    fuzz::insist(
        SuperBlob::read(signature.parts.write(), Magic::embeddedSignature, true) == signature.parts,
        "a signature that was written reads as the same");
}

} // namespace

FUZZ_TARGET(embedded_signature, input)
{
    fuzz::accepts([&] {
        const EmbeddedSignature signature = EmbeddedSignature::read(input);
        look(signature);
        if (const Blob* set = signature.parts.find(Slot::requirements))
            if (const auto designated = designatedRequirement(*set))
                requirementText(*designated);
        if (const Blob* blob = signature.parts.find(Slot::entitlements))
            Entitlements::read(blobContent(*blob, Magic::entitlements)).derBlob();
    });
    fuzz::accepts([&] { EmbeddedSignature::read(input, true); });
}
