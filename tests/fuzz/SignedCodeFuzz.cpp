#include "FuzzFolder.h"
#include "FuzzInput.h"

#include "codesign/CodeError.h"
#include "codesign/CodeReport.h"
#include "codesign/CodeVerifier.h"

using namespace codesign;

// A whole file that is or claims to be signed code, a program or a disk image: shown and verified.
FUZZ_TARGET(signed_code, input)
{
    static const fuzz::FuzzFolder folder;
    static const keychain::TrustedRoots roots;
    const auto path = folder.write("tool", input);
    fuzz::accepts<CodeError>([&] {
        const StaticCode code = StaticCode::read(path);
        reportOn(code, roots, 9);
        entitlementsIn(code);
        hasExplicitRequirement(code);
        designatedText(code);
    });
    fuzz::accepts<CodeError>([&] { CodeVerifier(roots).verify(path, {.strict = true}); });
}
