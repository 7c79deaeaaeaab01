#include "volumes/MountName.h"

#include <gtest/gtest.h>

TEST(MountName, IsANameThatAFolderCanHave)
{
    std::string longest;
    for (int i = 0; i < 255; ++i)
        longest += "é";
    struct Row {
        const char* what;
        std::string volume;
        std::string folder;
    };
    const Row rows[] = {
        {"blanks, quotes and emoji stay", "My \"App\" 📦", "My \"App\" 📦"},
        {"a slash becomes a colon", "A/B", "A:B"},
        {"line ends would break a list", "A\nB\tC", "A_B_C"},
        {"those of other scripts too", "A\u2028B\u0085C\u2029", "A_B_C_"},
        {"blanks at the end, where a list's reader trims", " My App  ", " My App"},
        {"nothing but blanks", "  ", "Untitled"},
        {"no name", "", "Untitled"},
        {"the folder itself", ".", "Untitled"},
        {"the folder above", "..", "Untitled"},
        {"cut between characters", longest, longest.substr(0, 240)},
        {"cut not inside one", "x" + longest, "x" + longest.substr(0, 238)},
    };
    for (const Row& row : rows)
        EXPECT_EQ(volumes::mountNameFor(row.volume), row.folder) << row.what;
    EXPECT_EQ(volumes::numberedName("App", 0), "App");
    EXPECT_EQ(volumes::numberedName("App", 2), "App 2");
}
