#include "finder/IconFamily.h"

#include "Damage.h"
#include "Samples.h"

namespace finder {

namespace {

const auto icon = samples::fromHex("69636e73 00000025 544f4320 00000010 69633037 0000000d"
                                   "69633037 0000000d 89504e470d");

} // namespace

TEST(IconFamily, ElementsAreListed)
{
    const auto elements = readIconFamily(icon);
    ASSERT_EQ(elements.size(), 2u);
    EXPECT_EQ(elements[0].type.text(), "TOC ");
    EXPECT_EQ(elements[1].type.text(), "ic07");
    EXPECT_EQ(elements[1].data.size(), 5u);
    EXPECT_EQ(elements[1].data[0], std::byte{0x89});
    EXPECT_TRUE(isIconFamily(icon));
}

TEST(IconFamily, OtherFilesAreNoIcons)
{
    for (const char* hex :
        {"", "89504e470d0a1a0a", "69636e73 00000008", "69636e73 00000010 544f4320 00000008",
            "69636e73 00000010 69633037 00000007", "69636e73 00000010 69633037 00000009"})
        EXPECT_FALSE(isIconFamily(samples::fromHex(hex))) << hex;
}

TEST(IconFamily, DamageEndsInAFormatErrorOrASoundParse)
{
    EXPECT_GE(readDamaged(icon, readIconFamily), icon.size()) << "every truncation at least";
}

} // namespace finder
