#include "FuzzInput.h"

#include "RequirementProbe.h"

using namespace codesign;

// A requirement in the language that people write.
FUZZ_TARGET(requirement_text, input)
{
    fuzz::accepts([&] {
        const Expression expression = parseRequirement(fuzz::textOf(input));
        satisfies(fuzz::RequirementProbe(), expression);
        fuzz::insist(readRequirement(writeRequirement(expression)) == expression,
            "the binary form says the same");
        fuzz::insist(parseRequirement(requirementText(expression)) == expression,
            "the text that we give parses as the same");
    });
}
