#include "build/BuildTools.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(BuildTools, ReadsTheMountPointFromWhatAttachSaid)
{
    struct Row {
        const char* name;
        QByteArray output;
        std::optional<QString> mountPoint;
    };
    const Row rows[] = {
        {"the columns before it go, blanks inside the name stay",
            "/dev/disk4\tGUID_partition_scheme\t\n"
            "/dev/disk4s1\tApple_HFS                      \t/Volumes/My App Installer\n",
            u"/Volumes/My App Installer"_s},
        {"the first of two volumes",
            "/dev/disk4s1\tApple_HFS\t/Volumes/A\n/dev/disk4s2\t/Volumes/B", u"/Volumes/A"_s},
        {"any line end will do", "/dev/disk4\r\n/dev/disk4s1 /Volumes/A \t\r\nmore",
            u"/Volumes/A"_s},
        {"Unicode's line separator ends a line too", "/Volumes/A\xE2\x80\xA8/Volumes/B",
            u"/Volumes/A"_s},
        {"a volume named after the folder of volumes", "/dev/disk4s1\t/Volumes/x/Volumes/y\n",
            u"/Volumes/x/Volumes/y"_s},
        {"letters beyond ASCII", "/dev/disk4s1\t/Volumes/\xC3\x84pfel\n", u"/Volumes/Äpfel"_s},
        {"nothing mounted", "/dev/disk4\tGUID_partition_scheme\t\n", std::nullopt},
        {"no output", "", std::nullopt},
        {"bytes that are no text", "/dev/disk4s1\t/Volumes/\xC3(\n", std::nullopt},
    };
    for (const Row& row : rows)
        EXPECT_EQ(BuildTools::mountPointIn(row.output), row.mountPoint) << row.name;
}

TEST(BuildTools, ErrorTextStaysAsItIsUnlessItIsNoText)
{
    EXPECT_EQ(BuildTools::errorTextIn(" hdiutil: no \n"), u" hdiutil: no \n"_s);
    EXPECT_EQ(BuildTools::errorTextIn("cut off \xE2\x80"), u"Unknown Error"_s);
}

} // namespace
