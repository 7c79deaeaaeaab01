#include "tools/ImageChecks.h"

#include "bytes/ByteDevice.h"
#include "bytes/FormatError.h"
#include "finder/StoreChecker.h"
#include "hfsplus/Volume.h"
#include "hfsplus/VolumeChecker.h"
#include "tools/HdiutilVerbs.h"
#include "tools/Text.h"
#include "udif/DiskImage.h"

#include <functional>
#include <ostream>
#include <string_view>
#include <system_error>

namespace tools {

namespace {

void printResult(
    std::ostream& out, const std::string& label, uint32_t computed, uint32_t stored, bool valid)
{
    if (valid)
        out << label << "verified   " << crcText(computed) << '\n';
    else
        out << label << "calculated " << crcText(computed) << ", expected   " << crcText(stored)
            << '\n';
}

/// No Finder reads a store of more than some megabytes.
constexpr uint64_t storeLimit = uint64_t{64} << 20;

/// `path` is what a store claims: it may be nothing that a file can be called.
std::optional<uint32_t> fileAt(const hfsplus::Volume& volume, std::string_view path)
{
    while (path.starts_with('/'))
        path.remove_prefix(1);
    try {
        if (const auto entry = path.empty() ? std::nullopt : volume.find(path))
            return static_cast<uint32_t>(entry->id);
    } catch (const std::system_error&) { }
    return std::nullopt;
}

void note(VolumeState& state, bool damage, std::string line)
{
    (damage ? state.faults : state.remarks).push_back(std::move(line));
}

void checkStore(const hfsplus::Volume& volume, VolumeState& state)
{
    const auto store = volume.find(".DS_Store");
    if (!store || store->kind != hfsplus::EntryKind::file)
        return;
    const hfsplus::ForkReader fork = volume.dataFork(*store);
    if (fork.size() > storeLimit) {
        note(state, true, ".DS_Store: larger than any store");
        return;
    }
    finder::VolumeFacts facts{.volumeName = volume.name(),
        .rootNames = {},
        .fileAt = {},
        .created = volume.header().createDate};
    for (const hfsplus::Entry& entry : volume.children(hfsplus::rootFolderID))
        facts.rootNames.emplace(entry.name);
    facts.fileAt = [&](const std::string& path) { return fileAt(volume, path); };
    const std::vector<std::byte> raw = fork.read(0, static_cast<std::size_t>(fork.size()));
    for (const finder::StoreFinding& finding : finder::checkStore(raw, facts))
        note(state, finding.damage, ".DS_Store: " + finding.message);
}

} // namespace

udif::Verification verifyShowing(const std::filesystem::path& image, const Session& session)
{
    const auto progress = session.progress();
    return udif::verifyImage(image, {.threads = 0, .progress = std::ref(*progress)});
}

void printChecksums(std::ostream& out, const udif::Verification& verification)
{
    for (const udif::Verification::Table& table : verification.tables) {
        out << "Checksumming " << table.name << "…\n";
        printResult(out, column(table.name, 36, Align::right) + ": ", table.computed,
            table.stored.value, table.valid());
    }
    if (verification.hasChecksums)
        printResult(out, "", verification.masterComputed, verification.masterStored.value,
            verification.masterComputed == verification.masterStored.value);
}

VolumeState volumeState(const udif::DiskImage& image)
{
    const udif::Partition* partition = image.partitions().hfsPlusPartition();
    if (partition == nullptr)
        return {};
    const bytes::SourceRange source(image.disk(), partition->firstSector * udif::sectorBytes,
        partition->sectorCount * udif::sectorBytes);
    VolumeState state;
    for (const hfsplus::Finding& finding : hfsplus::checkVolume(source))
        note(state, finding.damage, finding.message);
    try {
        checkStore(hfsplus::Volume(source), state);
    } catch (const bytes::FormatError& damage) {
        // The check of the volume says the same, and more of it.
        if (state.faults.empty())
            note(state, true, damage.what());
    }
    return state;
}

} // namespace tools
