#include "FuzzFolder.h"
#include "FuzzInput.h"

#include "SparseInput.h"
#include "hfsplus/VolumeChecker.h"
#include "hfsplus/VolumeEditor.h"
#include "hfsplus/VolumeExtractor.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>

namespace fs = std::filesystem;
using namespace hfsplus;

namespace {

bool isSound(const bytes::ByteSource& volume)
{
    return std::ranges::none_of(checkVolume(volume), &Finding::damage);
}

void changeAndWriteBack(
    bytes::MemoryDevice& volume, const fs::path& folder, const FolderSnapshot& snapshot)
{
    const bool wasSound = isSound(volume);
    std::ofstream(folder / "added.txt") << "added";
    VolumeEditor(volume, folder, snapshot, {.fixedTime = 3'800'000'000}).apply();
    fuzz::insist(!wasSound || isSound(volume), "a sound volume is sound after a change");
}

} // namespace

// An HFS+ volume (see SparseInput), laid out as a folder, changed there and written back. Nothing
// may appear beside the folder.
FUZZ_TARGET(hfs_folder, input)
{
    static const fuzz::FuzzFolder around;
    const fs::path folder = around.emptied("volume");
    bytes::MemoryDevice source(fuzz::expanded(input));
    fuzz::accepts<std::system_error, NoSpaceOnVolume>([&] {
        const ExtractReport report = [&] {
            const Volume volume(source);
            return VolumeExtractor(volume, folder, 1).extract();
        }();
        changeAndWriteBack(source, folder, report.snapshot);
    });
    fuzz::insist(std::distance(fs::directory_iterator(around.path()), {}) == 1,
        "nothing is written outside the folder");
}
