#include "FuzzInput.h"

#include "codesign/Entitlements.h"
#include "plist/PropertyList.h"

// XML and binary property lists, as information dictionaries and as entitlements.
FUZZ_TARGET(property_list, input)
{
    fuzz::accepts([&] {
        const std::string xml = plist::writeXml(plist::read(input));
        // What the XML form can't hold is lost in the first writing and never again.
        const std::string again = plist::writeXml(plist::read(std::as_bytes(std::span(xml))));
        fuzz::insist(plist::writeXml(plist::read(std::as_bytes(std::span(again)))) == again,
            "a list that was written reads as the same");
    });
    const int before = fuzz::refusals;
    fuzz::accepts([&] {
        const auto entitlements = codesign::Entitlements::read(input);
        entitlements.derBlob();
        entitlements.executableFlags();
    });
    fuzz::refusals = before; // no list needs to be one of entitlements
}
