#include "TestVolumes.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

TEST(StateFolder, IsMadeForItsOwnerAlone)
{
    const TestVolumes test;
    const auto state = test.state();
    for (const fs::path& folder : {state.root(), state.volumes(), state.attached()})
        EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all) << folder;
}

TEST(StateFolder, ClosesWhatWasOpenButNotAFolderThatTheUserNamed)
{
    const TestVolumes test;
    fs::create_directories(test.folder() / "shared/Volumes");
    fs::permissions(test.folder() / "shared", fs::perms(0755));
    const volumes::StateFolder state(test.folder() / "shared");
    EXPECT_EQ(fs::status(state.root()).permissions(), fs::perms(0755));
    EXPECT_EQ(fs::status(state.volumes()).permissions(), fs::perms::owner_all);
}

TEST(StateFolder, MapsOnlyPathsBelowVolumes)
{
    const TestVolumes test;
    const auto state = test.state();
    const fs::path inside = state.volumes();
    struct Row {
        const char* what;
        fs::path mac;
        fs::path host;
    };
    const Row rows[] = {
        {"a volume", "/Volumes/My App", inside / "My App"},
        {"a file on it", "/Volumes/My App/.background/x.png", inside / "My App/.background/x.png"},
        {"the folder of all volumes", "/Volumes", inside},
        {"a slash at the end", "/Volumes/X/", inside / "X/"},
        {"doubled slashes", "//Volumes//X", inside / "X"},
        {"a way out of /Volumes", "/Volumes/../etc/passwd", "/Volumes/../etc/passwd"},
        {"a way in", "/tmp/../Volumes/X", inside / "X"},
        {"a name that only begins alike", "/VolumesX/a", "/VolumesX/a"},
        {"another folder", "/tmp/a.dmg", "/tmp/a.dmg"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(state.hostPath(row.mac), row.host) << row.what;
}

TEST(StateFolder, OfUserFollowsTheVariables)
{
    const TestVolumes test;
    ::setenv("XDG_DATA_HOME", (test.folder() / "data").c_str(), 1);
    ::unsetenv("VANDOR_STATE");
    EXPECT_EQ(volumes::StateFolder::ofUser().root(), test.folder() / "data/vandor-dmg");
    ::setenv("VANDOR_STATE", (test.folder() / "own").c_str(), 1);
    EXPECT_EQ(volumes::StateFolder::ofUser().root(), test.folder() / "own");
    ::unsetenv("XDG_DATA_HOME");
    ::unsetenv("VANDOR_STATE");
}
