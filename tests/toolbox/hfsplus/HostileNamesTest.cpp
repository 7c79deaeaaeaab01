#include "CatalogPatch.h"
#include "SampleVolume.h"

#include "bytes/FormatError.h"
#include "hfsplus/Volume.h"

#include <gtest/gtest.h>

using namespace hfsplus;
namespace fs = std::filesystem;

namespace {

/// What `volume` becomes in a folder of its own: one line per entry with its path and, of a link,
/// the target; or the reason why it isn't laid out. Nothing may appear beside that folder.
std::string laidOut(const bytes::ByteSource& volume)
{
    const TemporaryFolder outer;
    const fs::path target = outer.path() / "inner";
    fs::create_directory(target);
    std::string listing;
    try {
        VolumeExtractor(Volume(volume), target, 1).extract();
    } catch (const std::exception& refusal) {
        listing = std::string("refused: ") + refusal.what() + "\n";
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(outer.path()), fs::directory_iterator()), 1);
    if (!listing.empty())
        return listing;
    std::vector<std::string> lines;
    for (const auto& entry : fs::recursive_directory_iterator(target)) {
        lines.push_back(entry.path().lexically_relative(target).string());
        if (entry.is_symlink())
            lines.back() += " -> " + fs::read_symlink(entry.path()).string();
    }
    std::ranges::sort(lines);
    for (const std::string& line : lines)
        listing += line + "\n";
    return listing;
}

/// A volume of one file called `host`.
bytes::MemoryDevice volumeWithFile(const std::string& host)
{
    const TemporaryFolder folder;
    folder.write(host, "content");
    return SampleVolume::build(folder, 0);
}

/// Its name takes no unit any more, though its key is as long as before.
void emptyName(bytes::MemoryDevice& device, std::u16string_view name)
{
    std::size_t keyBytes = 0;
    const uint64_t record = recordOf(device, name, fileRecord, &keyBytes);
    patchRecord<be16>(device, record - keyBytes + 6, [](be16& units) { units = uint16_t{0}; });
}

} // namespace

TEST(HostileNames, OfOneFileStayInTheFolder)
{
    struct Row {
        const char* name;
        std::string host; // the file that the volume is made of
        std::u16string stored; // what its name is made on the volume; empty: stays
        std::string end; // how the listing starts
    };
    const std::string refused = "refused: an entry has a name that no file can have";
    const Row rows[] = {
        {"a slash alone", "z", u"/", ":\n"},
        {"slashes that climb", "zzzzzzzzzz", u"../../evil", "..:..:evil\n"},
        {"slashes from the top", "zzzzzzzzzzz", u"/etc/passwd", ":etc:passwd\n"},
        {"a slash at the end", "zzz", u"../", "..:\n"},
        {"this folder", "z", u".", refused},
        {"the folder above", "zz", u"..", refused},
        {"three dots", "zzz", u"...", "...\n"},
        {"NUL at the end", "zzz", std::u16string(u"..\0", 3), "..\u2400\n"},
        {"NUL alone", "z", std::u16string(1, u'\0'), "\u2400\n"},
        {"line feed", "zzz", u"a\nb", "a\nb\n"},
        {"half a character", "zzz", u"a\xD800/", "a\uFFFD:\n"},
        {"its second half", "z", u"\xDFFF", "\uFFFD\n"},
        {"wide slashes are no slashes", "zzzz", u"..\uFF0Fa", "..\uFF0Fa\n"},
        {"as long as it gets", std::string(255, 'n'), u"", std::string(255, 'n') + "\n"},
    };
    for (const Row& row : rows) {
        auto device = volumeWithFile(row.host);
        if (!row.stored.empty()) {
            ASSERT_TRUE(replaceName(device, nameFromHost(row.host), row.stored)) << row.name;
        }
        const std::string listing = laidOut(device);
        EXPECT_TRUE(listing.starts_with(row.end)) << row.name << ": " << listing;
        EXPECT_TRUE(row.end != refused || !findingsOf(device).empty()) << row.name;
    }
    auto device = volumeWithFile("z");
    emptyName(device, u"z");
    EXPECT_NE(findingsOf(device), "");
    EXPECT_TRUE(laidOut(device).starts_with(refused)) << laidOut(device);
}

TEST(HostileNames, OfLinksAreKeptAndNeverFollowed)
{
    const TemporaryFolder folder;
    const fs::path path = folder;
    for (const auto& [name, target] : {std::pair("absolute", "/etc/passwd"),
             {"climbing", "../../.."}, {"here", "."}, {"itself", "itself"}, {"one", "two"},
             {"two", "one"}, {"through", "climbing/etc/passwd"}})
        fs::create_symlink(target, path / name);
    fs::create_symlink("..", path / "later");
    macfile::Metadata metadata;
    metadata.attributes["com.example.note"].assign(30, std::byte{3});
    macfile::writeMetadata(path / "later", metadata);
    LaidOut out(SampleVolume::build(folder));
    EXPECT_EQ(laidOut(out.device()),
        "._later\nabsolute -> /etc/passwd\nclimbing -> ../../..\nhere -> .\nitself -> itself\n"
        "later -> ..\none -> two\nthrough -> climbing/etc/passwd\ntwo -> one\n");
    // Nor does an edit go where they lead.
    out.folder().write("new", "n");
    out.apply();
    EXPECT_EQ(findingsOf(out.device()), "");
    EXPECT_EQ(Volume(out.device()).children(rootFolderID).size(), 9U);
}

TEST(HostileNames, OfTwoEntriesDoNotMix)
{
    struct Row {
        const char* name;
        const char* first; // stays as it is
        std::u16string second; // as it is stored
        std::string end;
    };
    const std::string same = "refused: two entries of the volume become the same file here";
    const Row rows[] = {
        {"one name twice", "aaaa", u"aaaa", same},
        {"case alone", "aaaa", u"aAaa", "aAaa\naaaa\n"},
        {"composition alone", "caf\u00E9", u"caf\u00E9", same},
        {"NUL and its picture", "a\u2400bc", u"a\u2400bc", same},
        {"colon and slash", "a:bc", u"a:bc", same},
        {"two halves of characters", "a\uFFFDbc", u"a\xD800\x62\x63", same},
    };
    for (const Row& row : rows) {
        const TemporaryFolder folder;
        folder.write(row.first, "first");
        folder.write(std::string(row.second.size(), 'z'), "second");
        auto device = SampleVolume::build(folder, 0);
        ASSERT_TRUE(replaceName(device, std::u16string(row.second.size(), u'z'), row.second));
        const std::string listing = laidOut(device);
        EXPECT_TRUE(listing.starts_with(row.end)) << row.name << ": " << listing;
        // Who could change such a volume would lose the changes.
        EXPECT_EQ(
            canBeEdited(Volume(device)), findingsOf(device).find("order") == std::string::npos)
            << row.name;
    }
}
