#include "archive/MakeZip.h"
#include "archive/UnpackZip.h"

#include "../hfsplus/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <iterator>

namespace fs = std::filesystem;

TEST(Zip, MoreEntriesThanASimpleArchiveCanCount)
{
    const TemporaryFolder folder;
    constexpr int folders = 66, files = 1000;
    for (int i = 0; i < folders; ++i) {
        const fs::path inside = folder.path() / "many" / std::to_string(i);
        fs::create_directories(inside);
        for (int k = 0; k < files; ++k)
            std::ofstream(inside / std::to_string(k));
    }
    const fs::path zip = folder.path() / "many.zip";
    archive::makeZip(folder.path() / "many", zip);
    archive::unpackZip(zip, folder.path() / "out");
    EXPECT_EQ(std::distance(fs::recursive_directory_iterator(folder.path() / "out"), {}),
        folders * files + folders);
}
