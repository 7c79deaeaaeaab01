#include "ProgramRun.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <fstream>
#include <memory>

namespace {

namespace fs = std::filesystem;

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
    // What the program says last before the signal comes. Nothing: it may not be listening yet.
    const std::string moments[] = {"", "Starting build", "Copying app bundle",
        "Mounting for customization", "Setting volume icon", "Syncing file system",
        "Compressing final DMG"};
    struct Run {
        TemporaryFolder folder;
        fs::path image = folder.path() / "out" / "App.dmg";
        std::unique_ptr<ProgramRun> program;
    };
    std::array<Run, std::size(moments)> runs;
    for (Run& run : runs) {
        fs::create_directory(run.image.parent_path());
        std::ofstream(run.image) << "the image of yesterday";
        run.program = std::make_unique<ProgramRun>(
            std::vector<std::string>{vandor(), "build", SAMPLE_APP, "-o", run.image.string()},
            run.folder.path());
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const std::string& moment = moments[i];
        const Run& run = runs[i];
        ASSERT_TRUE(run.program->awaitWords(moment)) << moment;
        run.program->signal(SIGINT);
        const int status = run.program->wait();
        // Before the program has its handlers, the signal itself ends it; a shell says 130 to both.
        const bool interrupted = status == 130 || (moment.empty() && status == 1000 + SIGINT);
        EXPECT_TRUE(interrupted || (&run == &runs.back() && status == 0))
            << moment << ": " << status << "\n"
            << run.program->errors();
        EXPECT_EQ(leftovers(run.folder.path()), std::vector<std::string>{}) << moment;
        ASSERT_TRUE(fs::exists(run.image));
        if (interrupted) {
            EXPECT_EQ(fs::file_size(run.image), 22U)
                << "the old image stays until the new one is done";
        }
    }
}

TEST(Interruption, AKilledBuildDoesNotDisturbTheNext)
{
    const TemporaryFolder folder;
    const std::vector<std::string> command{
        vandor(), "build", SAMPLE_APP, "-o", (folder.path() / "App.dmg").string()};
    ProgramRun early(command, folder.path()), late(command, folder.path());
    for (const auto& [killed, moment] :
        {std::pair{&early, "Copying app bundle"}, {&late, "Setting volume icon"}}) {
        ASSERT_TRUE(killed->awaitWords(moment));
        killed->signal(SIGKILL);
        EXPECT_EQ(killed->wait(), 1000 + SIGKILL);
    }
    ProgramRun next(command, folder.path());
    EXPECT_EQ(next.wait(), 0) << next.errors();
    fs::remove(folder.path() / "App.dmg");
    EXPECT_EQ(leftovers(folder.path()), std::vector<std::string>{})
        << "the next run takes away what the killed ones left";
}

} // namespace
