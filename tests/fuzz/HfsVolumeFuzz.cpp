#include "FuzzInput.h"

#include "SparseInput.h"
#include "hfsplus/Volume.h"
#include "hfsplus/VolumeChecker.h"
#include "hfsplus/VolumeEditor.h"

#include <algorithm>

using namespace hfsplus;

namespace {

void readStart(const ForkReader& fork)
{
    fork.read(0, static_cast<std::size_t>(std::min<uint64_t>(fork.size(), 4096)));
}

void look(const Volume& volume, const Entry& entry)
{
    fuzz::accepts([&] { readStart(volume.dataFork(entry)); });
    fuzz::accepts([&] { readStart(volume.resourceFork(entry)); });
    fuzz::accepts([&] { volume.metadata(entry); });
    if (entry.kind == EntryKind::symlink)
        fuzz::accepts([&] { volume.linkTarget(entry); });
}

} // namespace

// An HFS+ volume (see SparseInput): opened, walked, and checked.
FUZZ_TARGET(hfs_volume, input)
{
    const bytes::MemoryDevice source(fuzz::expanded(input));
    fuzz::accepts([&] {
        const Volume volume(source);
        volume.name();
        canBeEdited(volume);
        volume.visit([&](const std::string& path, const Entry& entry) {
            volume.find(path);
            look(volume, entry);
        });
    });
    fuzz::accepts([&] { checkVolume(source); });
}
