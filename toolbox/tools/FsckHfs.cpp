#include "tools/FsckHfs.h"

#include "bytes/FormatError.h"
#include "hfsplus/Volume.h"
#include "hfsplus/VolumeChecker.h"
#include "tools/Arguments.h"
#include "tools/FailureReason.h"
#include "tools/Text.h"
#include "udif/DiskImage.h"
#include "volumes/AttachedVolumes.h"

#include <array>
#include <filesystem>
#include <ostream>

namespace tools {

namespace fs = std::filesystem;

namespace {

constexpr int damagedStatus = 8;

/// All of them mean the same here: look, whatever the header says of a clean unmount.
constexpr std::array options{Option{"-n"}, Option{"-f"}, Option{"-fn"}, Option{"-nf"}, Option{"-q"},
    Option{"-d"}, Option{"-l"}};

std::string volumeNameOf(const bytes::ByteSource& volume)
{
    try {
        return oneLine(hfsplus::Volume(volume).name());
    } catch (const bytes::FormatError&) {
        return {};
    }
}

int check(const bytes::ByteSource& volume, std::ostream& out)
{
    const std::string name = volumeNameOf(volume);
    out << "** Checking HFS Plus volume.\n";
    if (!name.empty())
        out << "   The volume name is " << name << '\n';
    out << std::flush;
    bool damaged = false;
    for (const hfsplus::Finding& finding : hfsplus::checkVolume(volume)) {
        out << "   " << (finding.damage ? "" : "harmless: ") << oneLine(finding.message) << '\n';
        damaged = damaged || finding.damage;
    }
    const std::string subject = name.empty() ? "The volume" : "The volume " + name;
    out << "** " << subject
        << (damaged ? " was found corrupt and needs to be repaired.\n" : " appears to be OK.\n");
    return damaged ? damagedStatus : 0;
}

int checkImage(const std::string& given, std::ostream& out)
{
    const volumes::AttachedVolumes attached(
        volumes::StateFolder::ofUser(volumes::StateFolder::Making::whenNeeded));
    const auto known = attached.find(given).image;
    const fs::path path = known ? known->image : fs::absolute(given);
    // What was changed in its folder isn't in the image yet.
    if (attached.isBeingWritten(path))
        throw volumes::VolumeError(volumes::VolumeError::Case::attachedAlready);
    const udif::DiskImage image = udif::DiskImage::open(path);
    const udif::Partition* partition = image.partitions().hfsPlusPartition();
    if (partition == nullptr)
        throw bytes::FormatError("no HFS Plus volume inside");
    const bytes::SourceRange volume(image.disk(), partition->firstSector * udif::sectorBytes,
        partition->sectorCount * udif::sectorBytes);
    return check(volume, out);
}

} // namespace

int fsckHfs(std::span<const std::string> arguments, std::ostream& out, std::ostream& err)
{
    try {
        return checkImage(Arguments(arguments, options).onlyOperand(), out);
    } catch (const UsageError& mistake) {
        err << "fsck_hfs: " << mistake.what()
            << "\nUsage: fsck_hfs [-n] [-f] [-q] [-d] [-l] IMAGE | DEVICE\n"
               "This version looks for damage and repairs none.\n";
    } catch (const std::exception& failure) {
        err << "fsck_hfs: " << reasonOf(failure) << '\n';
    }
    return 1;
}

} // namespace tools
