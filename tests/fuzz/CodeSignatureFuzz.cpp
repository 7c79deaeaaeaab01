#include "FuzzInput.h"

#include "SignedText.h"
#include "keychain/Cms.h"

using namespace keychain;

// The CMS data of a signature, over the one code directory that the seeds sign.
FUZZ_TARGET(code_signature, input)
{
    static const TrustedRoots nobody;
    const auto read = [&](const TrustedRoots& roots) {
        return readCodeSignature(input, fuzz::signedText(), fuzz::signedHashes(), roots);
    };
    fuzz::accepts<CryptoError>([&] {
        const SignatureFacts facts = read(nobody);
        if (facts.chain.empty())
            return;
        // The same once more for somebody who trusts where the chain ends.
        TrustedRoots roots;
        roots.addRehearsalRoot(facts.chain.back());
        read(roots);
        for (const Certificate& certificate : facts.chain) {
            certificate.commonName();
            certificate.field("subject.OU");
            certificate.hasExtensionNamed("1.2.840.113635.100.6.1.13");
        }
    });
}
