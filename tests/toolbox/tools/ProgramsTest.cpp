#include "ToolRun.h"

#include "bytes/File.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

/// The programs themselves, as a build starts them: one after the other, side by side, killed.

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

const std::string hdiutilPath = TOOLBOX_DIR "/usr/bin/hdiutil";
const std::string diskutilPath = TOOLBOX_DIR "/usr/sbin/diskutil";
const std::string setFilePath = TOOLBOX_DIR "/usr/bin/SetFile";

Outcome hdiutil(const std::vector<std::string>& arguments)
{
    return runProgram(hdiutilPath, arguments);
}

/// Starts the program with its output going nowhere. In the background the tests themselves may
/// have been told to ignore `signal`.
pid_t started(
    const std::vector<std::string>& arguments, int signal, void (*disposition)(int) = SIG_DFL)
{
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child == 0) {
        std::signal(signal, disposition);
        std::vector<char*> words{const_cast<char*>(hdiutilPath.c_str())};
        for (const std::string& word : arguments)
            words.push_back(const_cast<char*>(word.c_str()));
        words.push_back(nullptr);
        if (::freopen("/dev/null", "w", stdout) && ::freopen("/dev/null", "w", stderr))
            ::execv(hdiutilPath.c_str(), words.data());
        ::_exit(127);
    }
    return child;
}

/// Starts the program, waits `delay`, sends `signal`; its exit status, or 128 and the signal that
/// ended it.
int interrupted(
    const std::vector<std::string>& arguments, std::chrono::microseconds delay, int signal)
{
    const pid_t child = started(arguments, signal);
    std::this_thread::sleep_for(delay);
    ::kill(child, signal);
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::vector<std::string> hiddenFilesIn(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().filename().string().starts_with(".vandor"))
            names.push_back(entry.path().filename().string());
    }
    return names;
}

/// Enough files for an attach to take a while.
void addManyFiles(const fs::path& folder)
{
    for (int i = 0; i < 1000; ++i)
        writeFile(folder / "many" / std::to_string(i % 50) / std::to_string(i), "content");
}

} // namespace

TEST(Programs, MakeAnImageThatAnotherReaderUnpacksAlike)
{
    const ToolTest test;
    const std::string temporary = test.path("temp.dmg");
    const std::string mountPoint = "/Volumes/My \"App\" é";
    const fs::path folder = test.volume("My \"App\" é");
    ASSERT_EQ(hdiutil({"create", "-volname", "My \"App\" é", "-srcfolder", test.source(), "-ov",
                          "-format", "UDRW", temporary})
                  .status,
        0);
    const Outcome attach = hdiutil({"attach", "-readwrite", "-noverify", "-noautoopen", temporary});
    EXPECT_THAT(attach.out, HasSubstr("\t" + mountPoint + "\n"));
    writeFile(folder / ".VolumeIcon.icns", "icns");
    EXPECT_EQ(runProgram(setFilePath, {"-a", "C", mountPoint}).status, 0);
    EXPECT_EQ(runProgram(TOOLBOX_DIR "/bin/sync", {}).status, 0);
    const std::vector<std::string> wanted = treeOf(folder);
    const Outcome eject = runProgram(diskutilPath, {"quiet", "eject", mountPoint});
    EXPECT_EQ(eject.status, 0) << eject.err;
    EXPECT_EQ(eject.out, "");

    for (const std::string format : {"UDZO", "UDBZ", "ULFO", "ULMO", "UDRO"}) {
        const std::string image = test.path(format + ".dmg");
        const Outcome convert = hdiutil({"convert", temporary, "-format", format, "-o", image});
        ASSERT_EQ(convert.status, 0) << convert.err;
        EXPECT_EQ(hdiutil({"verify", image}).status, 0) << format;
        const Outcome check = runProgram("/usr/bin/7zz", {"t", "-tdmg", image});
        EXPECT_EQ(check.status, 0) << check.out;
        EXPECT_EQ(check.out.find("WARNING"), std::string::npos) << check.out;
        const std::string unpacked = test.path(format);
        runProgram("/usr/bin/7zz", {"x", "-snld", "-o" + unpacked, image});
        // The whole volume is one folder of its name.
        const fs::directory_iterator root(unpacked);
        ASSERT_NE(root, fs::directory_iterator()) << format;
        // 7-Zip puts its output folder in front of an absolute link's target.
        std::vector<std::string> found = treeOf(root->path());
        for (std::string& line : found) {
            if (const auto at = line.find("-> " + unpacked); at != std::string::npos)
                line.erase(at + 3, unpacked.size());
        }
        EXPECT_EQ(found, wanted) << format;
    }
    // The custom-icon flag is on the volume, not only in the folder that is gone.
    hdiutil({"attach", "-noverify", test.path("UDZO.dmg")});
    EXPECT_EQ(treeOf(folder), wanted);
}

TEST(Programs, ABusyVolumeFailsWithItsOwnStatus)
{
    const ToolTest test;
    hdiutil({"attach", test.image("a.dmg")});
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child == 0) {
        if (::chdir(test.volume("Disk").c_str()) == 0)
            ::execlp("sleep", "sleep", "60", nullptr);
        ::_exit(1);
    }
    Outcome detach = hdiutil({"detach", "/Volumes/none"});
    for (int i = 0; i < 200 && detach.status != 16; ++i) {
        // Until the child has moved in, detaching would succeed: ask what only looks.
        std::error_code early;
        if (fs::read_symlink("/proc/" + std::to_string(child) + "/cwd", early)
            == fs::canonical(test.volume("Disk")))
            detach = hdiutil({"detach", "/Volumes/Disk"});
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(detach.status, 16);
    EXPECT_EQ(detach.err, "hdiutil: couldn't unmount \"disk4\" - Resource busy\n");
    const Outcome unmount = runProgram(diskutilPath, {"unmount", "/Volumes/Disk"});
    EXPECT_EQ(unmount.status, 1);
    EXPECT_THAT(unmount.err,
        HasSubstr("Volume Disk on disk4s1 failed to unmount: dissented by PID "
            + std::to_string(child) + " ("));
    const Outcome eject = runProgram(diskutilPath, {"eject", "/Volumes/Disk"});
    EXPECT_EQ(eject.status, 1);
    EXPECT_THAT(eject.err,
        HasSubstr("Unmount of disk4 failed: at least one volume could not be unmounted\n"));
    EXPECT_EQ(runProgram(diskutilPath, {"unmount", "force", "/Volumes/Disk"}).status, 0);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

TEST(Programs, AKillInTheMiddleDisturbsNoLaterRun)
{
    const ToolTest test;
    addManyFiles(test.source());
    const std::string image = test.image("a.dmg");
    const std::string output = test.path("out.dmg");
    for (int milliseconds = 1; milliseconds < 100; milliseconds *= 2) {
        const std::chrono::milliseconds delay(milliseconds);
        interrupted({"attach", "-noverify", image}, delay, SIGKILL);
        interrupted({"convert", image, "-format", "UDBZ", "-ov", "-o", output}, delay, SIGKILL);
        const Outcome attach = hdiutil({"attach", image});
        EXPECT_EQ(attach.status, 0) << attach.err;
        EXPECT_THAT(attach.out, HasSubstr("\t/Volumes/Disk\n")) << delay.count();
        EXPECT_EQ(treeOf(test.volume("Disk")), treeOf(test.source())) << delay.count();
        interrupted({"detach", "/Volumes/Disk"}, delay, SIGKILL);
        hdiutil({"detach", "/Volumes/Disk"});
        EXPECT_EQ(hdiutil({"info"}).out.find("disk4"), std::string::npos);
        EXPECT_EQ(hiddenFilesIn(test.folder()), std::vector<std::string>{});
    }
    EXPECT_EQ(hdiutil({"convert", image, "-format", "UDZO", "-ov", "-o", output}).status, 0);
    EXPECT_EQ(hdiutil({"verify", output}).status, 0);
}

TEST(Programs, ASignalTakesTheUnfinishedAway)
{
    const ToolTest test;
    addManyFiles(test.source());
    const std::string image = test.image("a.dmg");
    const auto folder = test.folder();
    struct Row {
        const char* what;
        std::vector<std::string> arguments;
        int signal;
        int status;
    };
    const std::string source = test.source();
    const std::vector<std::string> wanted = treeOf(source);
    const Row rows[] = {
        {"create", {"create", "-srcfolder", source, "-format", "UDBZ", test.path("x.dmg")}, SIGINT,
            130},
        {"convert", {"convert", image, "-format", "UDBZ", "-o", test.path("y.dmg")}, SIGTERM, 143},
        {"attach", {"attach", "-noverify", image}, SIGTERM, 143},
    };
    for (const Row& row : rows) {
        // From before it begins to after it has ended.
        bool met = false;
        bool finished = false;
        for (int milliseconds = 2; milliseconds < 10'000 && !finished; milliseconds *= 2) {
            const int status =
                interrupted(row.arguments, std::chrono::milliseconds(milliseconds), row.signal);
            met = met || status == row.status;
            finished = status == 0;
            EXPECT_TRUE(status == row.status || finished) << row.what << ": " << status;
            EXPECT_EQ(hiddenFilesIn(folder), std::vector<std::string>{}) << row.what;
            // Nothing, or all: a signal can come between the last step and the program's end.
            bool made = fs::exists(test.volume("Disk"));
            if (made) {
                EXPECT_EQ(treeOf(test.volume("Disk")), wanted) << milliseconds;
            }
            for (const char* file : {"x.dmg", "y.dmg"}) {
                if (!fs::exists(test.path(file)))
                    continue;
                made = true;
                EXPECT_EQ(hdiutil({"verify", test.path(file)}).status, 0) << milliseconds;
            }
            EXPECT_TRUE(made || !finished) << row.what << ": " << milliseconds;
            if (!finished)
                hdiutil({"detach", "/Volumes/Disk"});
            for (const char* left : {"x.dmg", "y.dmg"})
                fs::remove(test.path(left));
        }
        EXPECT_TRUE(finished) << row.what;
        EXPECT_TRUE(met) << row.what;
    }
}

TEST(Programs, AnIgnoredSignalStaysIgnored)
{
    const ToolTest test;
    addManyFiles(test.source());
    for (const int signal : {SIGINT, SIGHUP}) {
        // Ignored here first: the signal can come before the child is the tool.
        const auto before = std::signal(signal, SIG_IGN);
        const pid_t child = started(
            {"create", "-ov", "-srcfolder", test.source(), test.path("a.dmg")}, signal, SIG_IGN);
        int status = 0;
        while (::waitpid(child, &status, WNOHANG) == 0) {
            ::kill(child, signal);
            std::this_thread::yield();
        }
        std::signal(signal, before);
        EXPECT_EQ(status, 0) << signal;
        EXPECT_EQ(hdiutil({"verify", test.path("a.dmg")}).status, 0);
    }
}

TEST(Programs, AFileThatMayNotGrowEndsInOneLineAndLeavesNothing)
{
    const ToolTest test;
    const std::string line = "ulimit -f 4; exec '" + hdiutilPath + "' create -srcfolder '"
        + test.source().string() + "' -format UDRW '" + test.path("a.dmg") + "'";
    const Outcome create = runProgram("/bin/sh", {"-c", line});
    EXPECT_EQ(create.status, 1);
    EXPECT_EQ(create.err, "hdiutil: create failed - File too large\n");
    EXPECT_EQ(hiddenFilesIn(test.folder()), std::vector<std::string>{});
}

TEST(Programs, SeveralBuildsAtOnceDontMeet)
{
    const ToolTest test;
    constexpr int builds = 4;
    for (int i = 0; i < builds; ++i)
        test.image(std::to_string(i) + ".dmg", "Same");
    std::vector<std::jthread> threads;
    for (int i = 0; i < builds; ++i) {
        threads.emplace_back([&test, i] {
            const std::string name = std::to_string(i);
            for (int round = 0; round < 3; ++round) {
                const Outcome attach = hdiutil({"attach", test.path(name + ".dmg")});
                ASSERT_EQ(attach.status, 0) << attach.err;
                std::string mountPoint = attach.out.substr(attach.out.find("/Volumes/"));
                mountPoint.pop_back();
                // Closed when the other threads' tools start, which would keep it open too.
                bytes::File::open(test.volume(mountPoint.substr(9)) / ("of " + name),
                    round == 0 ? bytes::File::Mode::create : bytes::File::Mode::readWrite)
                    .writeAt(0, std::as_bytes(std::span(name)));
                const Outcome detach = hdiutil({"detach", mountPoint});
                EXPECT_EQ(detach.status, 0) << detach.err;
            }
        });
    }
    threads.clear();
    for (int i = 0; i < builds; ++i) {
        const std::string name = std::to_string(i);
        hdiutil({"attach", test.path(name + ".dmg")});
        EXPECT_EQ(readFile(test.volume("Same") / ("of " + name)), name);
        int others = 0;
        for (const auto& entry : fs::directory_iterator(test.volume("Same")))
            others += entry.path().filename().string().starts_with("of ") ? 1 : 0;
        EXPECT_EQ(others, 1);
        hdiutil({"detach", "disk4"});
    }
}

TEST(Programs, AClosedPipeIsNoReasonToStop)
{
    const ToolTest test;
    const std::string image = test.image("a.dmg");
    const std::string line = "'" + hdiutilPath + "' convert '" + image + "' -format UDZO -o '"
        + test.path("b.dmg") + "' | :";
    EXPECT_EQ(std::system(line.c_str()), 0);
    for (int i = 0; i < 500 && !fs::exists(test.path("b.dmg")); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_TRUE(fs::exists(test.path("b.dmg")));
}
