#include "FuzzInput.h"

#include "finder/AliasRecord.h"

using namespace finder;

FUZZ_TARGET(alias, input)
{
    fuzz::accepts([&] {
        const AliasRecord alias = readAlias(input);
        fuzz::accepts([&] { readAlias(writeAlias(alias)); });
    });
}
