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
        // Groups of the same operator may come back grouped from the other side.
        const std::string text = requirementText(expression);
        fuzz::insist(requirementText(parseRequirement(text)) == text,
            "the text that we give says the same when it is parsed");
    });
}
