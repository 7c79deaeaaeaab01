#include "TestVolumes.h"

#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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

TEST(StateFolder, IsNotMadeForThoseWhoOnlyLook)
{
    const TestVolumes test;
    const fs::path root = test.folder() / "none";
    const volumes::StateFolder state(root, volumes::StateFolder::Making::whenNeeded);
    const volumes::AttachedVolumes attached(state);
    EXPECT_TRUE(attached.list().empty());
    EXPECT_FALSE(attached.find("disk4").image);
    EXPECT_FALSE(attached.isBeingWritten(test.makeImage("a.dmg")));
    EXPECT_EQ(state.hostPath("/Volumes/X"), root / "Volumes/X");
    EXPECT_FALSE(fs::exists(root));
}

TEST(StateFolder, IsRefusedWhereOthersHaveAHandInIt)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can make files of somebody else";
    constexpr uid_t somebody = 65534;
    struct Row {
        const char* what;
        std::function<void(const fs::path& root, const fs::path& mine)> spoil;
        bool refused;
    };
    const auto give = [](const fs::path& path) {
        EXPECT_EQ(::lchown(path.c_str(), somebody, somebody), 0);
    };
    const Row rows[] = {
        {"another user's folder", [&](auto& root, auto&) { give(root); }, true},
        {"another user's folder of volumes", [&](auto& root, auto&) { give(root / "Volumes"); },
            true},
        {"a link that another user put there to a folder of mine",
            [&](auto& root, auto& mine) {
                fs::remove(root / "Volumes");
                fs::create_symlink(mine, root / "Volumes");
                give(root / "Volumes");
            },
            true},
        {"the same in place of the whole folder",
            [&](auto& root, auto& mine) {
                fs::remove_all(root);
                fs::create_symlink(mine, root);
                give(root);
            },
            true},
        {"a folder in which everybody may rename",
            [](auto& root, auto&) { fs::permissions(root, fs::perms(0777)); }, true},
        {"a folder like /tmp",
            [](auto& root, auto&) { EXPECT_EQ(::chmod(root.c_str(), 01777), 0); }, false},
        {"a file",
            [](auto& root, auto&) {
                fs::remove(root / "attached");
                writeFile(root / "attached", "");
            },
            true},
        {"a link of my own",
            [](auto& root, auto& mine) {
                fs::remove_all(root);
                fs::create_symlink(mine, root);
            },
            false},
    };
    for (const Row& row : rows) {
        const TestVolumes test;
        const volumes::StateFolder state = test.state();
        const fs::path mine = test.folder() / "mine";
        fs::create_directories(mine / "Volumes");
        fs::create_directory(mine / "attached");
        fs::permissions(mine, fs::perms(0755));
        row.spoil(state.root(), mine);
        if (row.refused) {
            EXPECT_THROW(state.make(), volumes::StateFolderError) << row.what;
            EXPECT_THROW(state.exists(), volumes::StateFolderError) << row.what;
        } else {
            EXPECT_NO_THROW(state.make()) << row.what;
            EXPECT_TRUE(state.exists()) << row.what;
        }
        EXPECT_EQ(fs::status(mine).permissions(), fs::perms(0755)) << row.what;
    }
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
