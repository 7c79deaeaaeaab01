#include "ProgramRun.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <thread>

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

/// Everything below `folder` but what the test itself put there.
std::vector<std::string> leftovers(const fs::path& folder)
{
    std::vector<std::string> left;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const std::string path = entry.path().lexically_relative(folder).string();
        const std::string name = entry.path().filename().string();
        if (path.starts_with("logs") || path == "tmp" || path == "out" || path == "out/App.dmg"
            || path.starts_with(".config"))
            continue;
        if (entry.is_directory() && fs::is_empty(entry.path()))
            continue;
        if (entry.is_regular_file() && (name == "lock" || fs::file_size(entry.path()) == 0))
            continue;
        if (!entry.is_directory())
            left.push_back(path);
    }
    return left;
}

TEST(Interruption, LeavesNothingBehindWheneverItComes)
{
    // Into the copy, the first wait, the icon, the last wait, the conversion.
    for (const auto moment : {30ms, 150ms, 1200ms, 2600ms, 4500ms, 6080ms}) {
        const TemporaryFolder folder;
        fs::create_directory(folder.path() / "out");
        const fs::path image = folder.path() / "out" / "App.dmg";
        std::ofstream(image) << "the image of yesterday";

        ProgramRun program({vandor(), "build", SAMPLE_APP, "-o", image.string()}, folder.path());
        std::this_thread::sleep_for(moment);
        program.signal(SIGINT);
        const int status = program.wait();
        // Before the program has its handlers, the signal itself ends it; a shell says 130 to both.
        const bool interrupted = status == 130 || (moment < 100ms && status == 1000 + SIGINT);
        EXPECT_TRUE(interrupted || (moment > 6000ms && status == 0))
            << moment.count() << " ms: " << status << "\n"
            << program.errors();
        EXPECT_EQ(leftovers(folder.path()), std::vector<std::string>{}) << moment.count() << " ms\n"
                                                                        << program.errors();
        ASSERT_TRUE(fs::exists(image));
        if (interrupted) {
            EXPECT_EQ(fs::file_size(image), 22U) << "the old image stays until the new one is done";
        }
    }
}

TEST(Interruption, AKilledBuildDoesNotDisturbTheNext)
{
    const TemporaryFolder folder;
    const std::vector<std::string> command{
        vandor(), "build", SAMPLE_APP, "-o", (folder.path() / "App.dmg").string()};
    for (const auto moment : {200ms, 3000ms}) {
        ProgramRun killed(command, folder.path());
        std::this_thread::sleep_for(moment);
        killed.signal(SIGKILL);
        EXPECT_EQ(killed.wait(), 1000 + SIGKILL);
    }
    ProgramRun next(command, folder.path());
    EXPECT_EQ(next.wait(), 0) << next.errors();
    fs::remove(folder.path() / "App.dmg");
    EXPECT_EQ(leftovers(folder.path()), std::vector<std::string>{})
        << "the next run takes away what the killed ones left";
}

} // namespace
