#include "FuzzInput.h"

#include "macfile/AppleDouble.h"
#include "macfile/CustomIcon.h"

using namespace macfile;

FUZZ_TARGET(apple_double, input)
{
    looksLikeAppleDouble(input);
    fuzz::accepts([&] {
        Metadata metadata = readAppleDouble(input);
        fuzz::insist(readAppleDouble(writeAppleDouble(metadata)) == metadata,
            "metadata that were written read as the same");
        fuzz::accepts([&] {
            setCustomIcon(metadata, input.first(input.size() / 2));
            customIcon(metadata);
            clearCustomIcon(metadata);
        });
    });
}
