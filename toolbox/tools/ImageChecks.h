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

/// Prints what a Mac prints while it compares an image's checksums: two lines a table, and the
/// master checksum.
void printChecksums(std::ostream& out, const udif::Verification& verification);

/// The faults of the HFS+ volume inside and of the Finder's store at its root, one line each.
/// Throws what reading the image throws.
std::vector<std::string> volumeFaults(const udif::DiskImage& image);

} // namespace tools
