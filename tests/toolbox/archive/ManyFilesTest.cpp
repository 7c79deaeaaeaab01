#include "archive/MakeZip.h"
#include "archive/UnpackZip.h"

#include "../hfsplus/TemporaryFolder.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr int folders = 66, files = 1000; // a simple archive can count 65,535 entries

/// Where so many files cost no disk's time.
fs::path quickPlace()
{
    return fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path();
}

bool runs(const std::string& command)
{
    return std::system(command.c_str()) == 0;
}

} // namespace

TEST(Zip, MoreEntriesThanASimpleArchiveCanCount)
{
    const TemporaryFolder folder(quickPlace());
    for (int i = 0; i < folders; ++i) {
        const fs::path inside = folder.path() / "many" / std::to_string(i);
        fs::create_directories(inside);
        for (int k = 0; k < files; ++k)
            std::ofstream(inside / std::to_string(k));
    }
    const fs::path zip = folder.path() / "many.zip";
    archive::makeZip(folder.path() / "many", zip);
    EXPECT_TRUE(runs("python3 -c \"import zipfile; assert len(zipfile.ZipFile('" + zip.string()
        + "').namelist()) == " + std::to_string(folders * files + folders) + "\""));
}

TEST(Unzip, FindsTheLastOfMoreEntriesThanASimpleArchiveCanCount)
{
    const TemporaryFolder folder(quickPlace());
    const fs::path zip = folder.path() / "many.zip";
    // Folders for metadata are made only when there is some.
    ASSERT_TRUE(runs("python3 -c \"import zipfile; z = zipfile.ZipFile('" + zip.string()
        + "', 'w'); [z.writestr('__MACOSX/%d/' % i, '') for i in range(66000)]; "
          "z.writestr('last', 'found')\""));
    archive::unpackZip(zip, folder.path() / "out");
    EXPECT_EQ(contentOf(folder.path() / "out" / "last"), "found");
}
