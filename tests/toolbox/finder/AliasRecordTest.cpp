#include "finder/AliasRecord.h"

#include "Damage.h"
#include "Samples.h"

namespace finder {

namespace {

/// As a Finder has it for the picture of the sample.
const char* const demoAlias =
    "00000000 0130 0002 0000 0444656d6f0000000000000000000000000000000000000000000000"
    "e57ce625 482b 0005 00000012 06 62672e706e67"
    "0000000000000000000000000000000000000000000000000000000000000000000000000000000000000000"
    "00000000000000000000000000 00000013 e57ce620 0000000000000000 ffff ffff 00000d02 0000"
    "00000000000000000000"
    "0000 000b 2e6261636b67726f756e6400 0010 0008 0000e57ce6250000 0011 0008 0000e57ce6200000"
    "0001 0004 00000012 0002 0018 44656d6f3a2e6261636b67726f756e643a0062672e706e67"
    "000e 000e 0006 00620067002e0070006e0067 000f 000a 0004 00440065006d006f"
    "0012 0013 2f2e6261636b67726f756e642f62672e706e6700"
    "0013 000d 2f566f6c756d65732f44656d6f00 ffff 0000";

} // namespace

TEST(AliasRecord, AFileOnAVolumeMakesTheFindersBytes)
{
    const auto raw = writeAlias(aliasTo(samples::demoPicture()));
    EXPECT_EQ(raw.size(), 304u);
    EXPECT_EQ(samples::toHex(raw), samples::toHex(samples::fromHex(demoAlias)));
}

TEST(AliasRecord, NothingIsLostInARoundTrip)
{
    AliasTarget target = samples::demoPicture();
    EXPECT_EQ(readAlias(samples::fromHex(demoAlias)), aliasTo(target));

    target.volumeName = "A/B \u65E5\u672C\u8A9E with a name of more than 27 bytes";
    target.path = "/a:b/\u00FCber/" + std::string(80, 'n') + ".png";
    target.id.reset();
    const AliasRecord alias = aliasTo(target);
    const AliasRecord read = readAlias(writeAlias(alias));
    EXPECT_EQ(read.volumeName, target.volumeName);
    EXPECT_EQ(read.targetName, std::string(80, 'n') + ".png");
    EXPECT_EQ(read.path, target.path);
    EXPECT_EQ(read.mountPoint, "/Volumes/A:B \u65E5\u672C\u8A9E with a name of more than 27 bytes");
    EXPECT_EQ(read.folderName, "\u00FCber");
    EXPECT_TRUE(read.carbonPath.find("a/b:\u00FCber:") != std::string::npos) << read.carbonPath;
    EXPECT_EQ(read.parentID, AliasRecord::unknownID);
    EXPECT_EQ(read.targetID, AliasRecord::unknownID);
    EXPECT_TRUE(read.folderIDs.empty());
}

TEST(AliasRecord, AFileAtTheRootHangsBelowIt)
{
    AliasTarget target = samples::demoPicture();
    target.path = "/bg.png";
    target.folderIDs.clear();
    const AliasRecord alias = aliasTo(target);
    EXPECT_EQ(alias.parentID, AliasRecord::rootFolderID);
    EXPECT_EQ(alias.folderName, "Demo");
    EXPECT_EQ(alias.carbonPath, std::string("Demo:\0bg.png", 12));
    target.path = "/";
    EXPECT_THROW(aliasTo(target), bytes::FormatError);
}

TEST(AliasRecord, DatesAreLocalInTheFixedPartAndUniversalInTheTags)
{
    AliasTarget target = samples::demoPicture();
    const AliasRecord here = aliasTo(target);
    target.zone = -5 * 3600;
    target.volumeCreated -= 5 * 3600; // the header of a volume made at the same moment elsewhere
    const AliasRecord there = aliasTo(target);
    EXPECT_EQ(there.volumeCreatedUTC, here.volumeCreatedUTC);
    EXPECT_EQ(there.targetCreatedUTC, here.targetCreatedUTC);
    EXPECT_EQ(there.volumeCreated, here.volumeCreated - 5 * 3600);
    EXPECT_EQ(there.targetCreated, here.targetCreated - 5 * 3600);
}

TEST(AliasRecord, DamageEndsInAFormatErrorOrASoundParse)
{
    const auto raw = samples::fromHex(demoAlias);
    EXPECT_GE(readDamaged(raw, readAlias), raw.size()) << "every truncation at least";
}

} // namespace finder
