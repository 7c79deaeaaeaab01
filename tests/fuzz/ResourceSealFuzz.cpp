#include "FuzzInput.h"

#include "codesign/Requirement.h"
#include "codesign/ResourceSeal.h"

using namespace codesign;

// A bundle's CodeResources: its rules are asked about paths as a scan would meet them.
FUZZ_TARGET(resource_seal, input)
{
    fuzz::accepts([&] {
        const ResourceSeal seal = ResourceSeal::read(input);
        for (const char* path : {"Info.plist", "Resources/en.lproj/InfoPlist.strings",
                 "Frameworks/A.framework/Versions/A/Resources/aaaaaaaaaaaaaaaaaaaaaaaaaaaa.png"})
            seal.rules.ruleFor(path);
        SealRules::read(seal.rules.write());
        for (const auto& [path, item] : seal.items) {
            seal.rules.ruleFor(path);
            const std::string& requirement = item.nested.requirement;
            if (item.kind == SealedItem::Kind::nestedCode)
                fuzz::accepts([&] { parseRequirement(requirement); });
        }
    });
}
