#pragma once

#include "udif/Verification.h"

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

namespace udif {
class DiskImage;
} // namespace udif

namespace tools {

struct Session;

/// Compares the image's checksums and shows how far that is.
udif::Verification verifyShowing(const std::filesystem::path& image, const Session& session);

/// Prints what a Mac prints while it compares an image's checksums: two lines a table, and the
/// master checksum.
void printChecksums(std::ostream& out, const udif::Verification& verification);

/// What there is to say of a volume, one line each.
struct VolumeState {
    std::vector<std::string> faults; // damage
    std::vector<std::string> remarks; // what is odd and harmless
};

/// Looks at the HFS+ volume inside and at the Finder's store at its root; nothing is said of other
/// volumes. Throws what reading the image throws.
VolumeState volumeState(const udif::DiskImage& image);

} // namespace tools
