#include "FuzzFolder.h"
#include "FuzzInput.h"

#include "archive/UnpackZip.h"

#include <iterator>
#include <system_error>

namespace fs = std::filesystem;

// A zip archive is unpacked. Nothing may appear beside the folder.
FUZZ_TARGET(zip, input)
{
    static const fuzz::FuzzFolder around;
    const fs::path folder = around.emptied("unpacked");
    const fs::path archive = around.write("archive.zip", input);
    fuzz::accepts<std::system_error>(
        [&] { archive::unpackZip(archive, folder, {.bytes = 1 << 20, .entries = 1000}); });
    fuzz::insist(std::distance(fs::directory_iterator(around.path()), {}) == 2,
        "nothing is written outside the folder");
}
