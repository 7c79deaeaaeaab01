#include "FuzzInput.h"

#include "RequirementProbe.h"

using namespace codesign;

// The binary form of one requirement.
FUZZ_TARGET(requirement, input)
{
    fuzz::accepts([&] {
        const Expression expression = readRequirement(input);
        satisfies(fuzz::RequirementProbe(), expression);
        requirementText(expression);
        fuzz::insist(readRequirement(writeRequirement(expression)) == expression,
            "a requirement that was written reads as the same");
    });
}
