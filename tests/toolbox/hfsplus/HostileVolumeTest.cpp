#include "CatalogPatch.h"
#include "SampleVolume.h"

#include "bytes/FormatError.h"

#include <gtest/gtest.h>

#include <random>
#include <system_error>

using namespace hfsplus;
namespace fs = std::filesystem;

namespace {

/// Runs everything that reads a volume over `device`. Errors are fine, crashes and files outside
/// of the target aren't. True when the volume could be laid out.
bool readAll(const bytes::ByteSource& device)
{
    checkVolume(device);
    const TemporaryFolder outer;
    const fs::path target = outer.path() / "inner";
    fs::create_directory(target);
    bool whole = false;
    try {
        VolumeExtractor(Volume(device), target, 1).extract();
        whole = true;
    } catch (const bytes::FormatError&) {
    } catch (const std::system_error&) { }
    EXPECT_EQ(std::distance(fs::directory_iterator(outer.path()), fs::directory_iterator()), 1);
    return whole;
}

bytes::MemoryDevice smallVolume()
{
    const TemporaryFolder folder;
    folder.write("folder/file", "content");
    folder.write("other", std::string(5000, 'o'));
    fs::create_symlink("folder", folder.path() / "link");
    fs::create_hard_link(folder.path() / "other", folder.path() / "same");
    macfile::Metadata metadata;
    metadata.attributes["com.example.note"].assign(30, std::byte{3});
    macfile::writeMetadata(folder.path() / "other", metadata);
    return SampleVolume::build(folder, 0);
}

/// Offsets of bytes that say something: everything that isn't zero.
std::vector<std::size_t> tellingBytes(const std::vector<std::byte>& raw)
{
    std::vector<std::size_t> offsets;
    for (std::size_t at = 0; at < raw.size(); ++at)
        if (raw[at] != std::byte{0} && raw[at] != std::byte{'o'})
            offsets.push_back(at);
    return offsets;
}

} // namespace

TEST(HostileVolume, TruncatedVolumesAreRefused)
{
    const auto whole = smallVolume().bytes();
    for (std::size_t length = 0; length < whole.size(); length += 1021) {
        const bytes::MemoryDevice cut(
            std::vector(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        EXPECT_FALSE(readAll(cut)) << length << " bytes";
        EXPECT_FALSE(checkVolume(cut).empty()) << length << " bytes";
    }
}

TEST(HostileVolume, DamagedBytesNeverCrashTheReaders)
{
    const auto whole = smallVolume().bytes();
    const auto offsets = tellingBytes(whole);
    std::mt19937 random(20260101);
    for (int round = 0; round < 300; ++round) {
        auto damaged = whole;
        for (auto left = 1 + random() % 4; left > 0; --left) {
            // Mostly where something stands, sometimes beside it.
            const std::size_t at =
                (offsets[random() % offsets.size()] + random() % 3) % whole.size();
            damaged[at] = static_cast<std::byte>(random() % 5 == 0 ? 0xFF : random());
        }
        readAll(bytes::MemoryDevice(std::move(damaged)));
    }
}

TEST(HostileVolume, EachFlippedByteOfTheTreesIsNoticedOrHarmless)
{
    // Whatever the checker approves of must be readable to its end.
    const auto whole = smallVolume().bytes();
    std::size_t reported = 0, rounds = 0;
    for (const std::size_t at : tellingBytes(whole)) {
        if (++rounds % 3 != 0)
            continue;
        auto damaged = whole;
        damaged[at] ^= std::byte{0x41};
        const bytes::MemoryDevice device(std::move(damaged));
        if (!checkVolume(device).empty()) {
            ++reported;
        } else {
            EXPECT_TRUE(readAll(device)) << "byte " << at;
        }
    }
    EXPECT_GT(reported, rounds / 6);
}

TEST(HostileVolume, FoldersInCirclesAreNoticed)
{
    // The folder becomes its own parent: the record, its thread and what the root counts.
    auto device = smallVolume();
    std::size_t keyBytes = 0;
    const uint64_t record = recordOf(device, u"folder", folderRecord, &keyBytes);
    const auto id = recordIn<CatalogFolder>(device, record).folderID;
    patchRecord<be32>(device, record - keyBytes + 2, [&](be32& parent) { parent = id; });
    EXPECT_NE(findingsOf(device).find("circles"), std::string::npos) << findingsOf(device);
    readAll(device);
}

TEST(HostileVolume, DamagedVolumesAreNeverEditedIntoACrash)
{
    const auto whole = smallVolume();
    const auto offsets = tellingBytes(whole.bytes());
    LaidOut out(whole);
    out.folder().write("new", "n");
    fs::remove(out.at("same"));
    out.folder().write("folder/file", "changed");
    std::mt19937 random(7);
    for (int round = 0; round < 700; ++round) {
        auto damaged = whole.bytes();
        for (auto left = 1 + random() % 3; left > 0; --left)
            damaged[offsets[random() % offsets.size()]] = static_cast<std::byte>(random());
        bytes::MemoryDevice device(std::move(damaged));
        try {
            VolumeEditor(device, out.folder().path(), out.report().snapshot).apply();
        } catch (const bytes::FormatError&) {
        } catch (const std::system_error&) {
        } catch (const NoSpaceOnVolume&) { }
    }
}
