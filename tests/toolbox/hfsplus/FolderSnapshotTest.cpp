#include "hfsplus/FolderSnapshot.h"

#include "TemporaryFolder.h"
#include "bytes/FormatError.h"

#include <gtest/gtest.h>

using namespace hfsplus;

namespace {

FolderSnapshot sample()
{
    FileFacts facts;
    facts.inode = 77;
    facts.size = uint64_t{5} << 32;
    facts.modified = -1'000'000'007;
    facts.changed = 1'700'000'000'123'456'789;
    facts.mode = 0100644;
    return FolderSnapshot({{"b/c", 18, facts}, {"", 2, {}}, {"b", 17, {}}, {"b/._c", 0, facts}});
}

} // namespace

TEST(FolderSnapshot, ComesBackFromItsBytes)
{
    const FolderSnapshot snapshot = FolderSnapshot::parse(sample().serialized());
    EXPECT_EQ(snapshot.items(), sample().items());
    ASSERT_TRUE(snapshot.find("b/c"));
    EXPECT_EQ(snapshot.find("b/c")->id, 18U);
    EXPECT_EQ(snapshot.find("b/d"), nullptr);

    const TemporaryFolder folder;
    sample().save(folder.path() / "snapshot");
    EXPECT_EQ(FolderSnapshot::load(folder.path() / "snapshot").items(), sample().items());
}

TEST(FolderSnapshot, DamageIsNoticed)
{
    const auto whole = sample().serialized();
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_THROW(FolderSnapshot::parse(std::span(whole).first(length)), bytes::FormatError)
            << length << " bytes";
    for (std::size_t at = 0; at < whole.size(); ++at) {
        auto damaged = whole;
        damaged[at] ^= std::byte{0x80};
        EXPECT_THROW(FolderSnapshot::parse(damaged), bytes::FormatError) << "byte " << at;
    }
}
