#include "notary/SubmissionContents.h"

#include "archive/UnpackZip.h"
#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "codesign/BundleLayout.h"
#include "hfsplus/VolumeExtractor.h"
#include "macho/MachOFile.h"
#include "udif/DiskImage.h"
#include "udif/ImageError.h"
#include "udif/Udif.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

namespace notary {

namespace fs = std::filesystem;
using bytes::FormatError;
using codesign::BundleLayout;

namespace {

constexpr const char* notExtracted = "The contents of the archive could not be extracted.";
constexpr const char* invalidSignature = "The signature of the binary is invalid.";

/// What a folder holds: paths of Mach-O files, of bundles by their executable, and of containers.
struct Found {
    std::set<fs::path> code;
    std::map<fs::path, fs::path> bundles;
    std::set<fs::path> containers;
    std::set<fs::path> brokenBundles;
    uint64_t bytes = 0;
};

/// A support folder looks like a flat bundle, but for its name.
bool isBundle(const BundleLayout& layout)
{
    return !layout.isFlat || layout.root.filename().string().find('.') != std::string::npos;
}

void lookAtFolder(const fs::path& folder, Found& found)
{
    fs::permissions(folder, fs::perms::owner_all, fs::perm_options::add);
    try {
        const auto layout = BundleLayout::of(folder);
        if (layout && isBundle(*layout))
            found.bundles.emplace(layout->executable, folder); // the outer of two names comes first
    } catch (const FormatError&) {
        if (fs::exists(fs::symlink_status(folder / "Contents" / "Info.plist")))
            found.brokenBundles.insert(folder);
    }
}

void lookAtFile(const fs::path& path, Found& found)
{
    fs::permissions(path, fs::perms::owner_read, fs::perm_options::add);
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    found.bytes += file.size();
    if (macho::MachOFile::isMachO(file))
        found.code.insert(path);
    else if (SubmissionContents::isContainer(file))
        found.containers.insert(path);
}

Found lookInto(const fs::path& folder)
{
    Found found;
    for (auto at = fs::recursive_directory_iterator(folder);
         at != fs::recursive_directory_iterator(); ++at) {
        if (at->is_symlink())
            continue;
        if (at->is_directory())
            lookAtFolder(at->path(), found);
        else if (at->is_regular_file())
            lookAtFile(at->path(), found);
    }
    return found;
}

} // namespace

bool SubmissionContents::isZip(const bytes::ByteSource& file)
{
    constexpr std::array mark{
        std::byte{'P'}, std::byte{'K'}, std::byte{3}, std::byte{4}}; // of an entry
    return file.size() > mark.size() && std::ranges::equal(file.read(0, mark.size()), mark);
}

bool SubmissionContents::isContainer(const bytes::ByteSource& file)
{
    return isZip(file) || udif::hasTrailer(file);
}

void SubmissionContents::inspect(const fs::path& file, const std::string& name)
{
    enter(file, name, 0);
}

void SubmissionContents::enter(const fs::path& file, const std::string& name, int depth)
{
    const auto refuse = [&](const std::string& detail) {
        m_inspector.mention(
            {.isError = depth == 0, .path = name, .message = notExtracted, .detail = detail});
    };
    if (depth > deepest) {
        refuse("archives nested too deeply");
        return;
    }
    const fs::path folder = fs::canonical(m_unpacked.newFolder());
    try {
        const auto source = bytes::File::open(file, bytes::File::Mode::read);
        if (isZip(source)) {
            archive::unpackZip(file, folder, {.bytes = m_bytesLeft});
        } else {
            m_inspector.inspectImage(file, name);
            unpackImage(file, folder);
        }
    } catch (const FormatError& error) {
        refuse(error.what());
        return;
    } catch (const udif::ImageError& error) {
        refuse(error.what());
        return;
    }
    inspectFolder(folder, name, depth);
}

void SubmissionContents::unpackImage(const fs::path& image, const fs::path& folder)
{
    const udif::DiskImage disk = udif::DiskImage::open(image);
    const udif::Partition* partition = disk.partitions().hfsPlusPartition();
    if (partition == nullptr)
        throw FormatError("the image has no HFS+ volume");
    const bytes::SourceRange source(disk.disk(), partition->firstSector * udif::sectorBytes,
        partition->sectorCount * udif::sectorBytes);
    const hfsplus::Volume volume(source);
    if (hfsplus::VolumeExtractor(volume, folder).extract().dataBytes > m_bytesLeft)
        throw FormatError("the archives hold more than any application");
}

void SubmissionContents::inspectFolder(const fs::path& folder, const std::string& name, int depth)
{
    const Found found = lookInto(folder);
    m_bytesLeft -= std::min(m_bytesLeft, found.bytes);
    const auto nameOf = [&](const fs::path& path) {
        return name + "/" + path.lexically_relative(folder).string();
    };
    for (const fs::path& bundle : found.brokenBundles) {
        m_inspector.mention({.path = nameOf(bundle),
            .message = invalidSignature,
            .detail = "bundle format unrecognized, invalid, or unsuitable"});
    }
    for (const fs::path& file : found.code) {
        const auto bundle = found.bundles.find(file);
        const fs::path& subject = bundle == found.bundles.end() ? file : bundle->second;
        m_inspector.inspectCode(subject, nameOf(subject));
    }
    for (const fs::path& container : found.containers)
        enter(container, nameOf(container), depth + 1);
}

} // namespace notary
