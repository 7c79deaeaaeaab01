#include "bytes/File.h"
#include "bytes/FormatError.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>

namespace {

using namespace bytes;
namespace fs = std::filesystem;

class FileTest : public testing::Test {
protected:
    FileTest()
    {
        std::string pattern = (fs::temp_directory_path() / "bytes-XXXXXX").string();
        m_folder = ::mkdtemp(pattern.data());
    }
    ~FileTest() override { fs::remove_all(m_folder); }

    std::size_t entries() const
    {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(m_folder), fs::directory_iterator()));
    }
    static std::string contentOf(const fs::path& path)
    {
        std::ifstream in(path);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    fs::path m_folder;
};

std::span<const std::byte> asBytes(std::string_view text)
{
    return std::as_bytes(std::span(text.data(), text.size()));
}

TEST_F(FileTest, ReadsThatLeaveTheFileAreRefused)
{
    File file = File::open(m_folder / "a", File::Mode::create);
    file.writeAt(0, asBytes("12345678"));
    EXPECT_THROW(file.read(7, 2), FormatError);
    EXPECT_THROW(file.read(UINT64_MAX, 1), FormatError);

    DeviceRange range(file, 4, 4);
    EXPECT_EQ(static_cast<char>(range.read(0, 1)[0]), '5');
    EXPECT_THROW(range.read(3, 2), FormatError);
    EXPECT_THROW(range.writeAt(4, asBytes("x")), FormatError);
    EXPECT_THROW(SourceRange(file, 5, 4), FormatError);
    EXPECT_THROW(SourceRange(file, UINT64_MAX, 2), FormatError);
}

TEST_F(FileTest, AnOutputFileAppearsWholeOrNotAtAll)
{
    const fs::path target = m_folder / "out";
    {
        OutputFile dropped(target);
        dropped.file().writeAt(0, asBytes("half"));
    }
    EXPECT_EQ(entries(), 0U) << "a dropped file leaves nothing behind";

    std::ofstream(target) << "old";
    {
        OutputFile refused(target);
        refused.file().writeAt(0, asBytes("new"));
        EXPECT_THROW(refused.commit(false), std::system_error);
    }
    EXPECT_EQ(contentOf(target), "old");

    OutputFile taken(target);
    taken.file().writeAt(0, asBytes("new"));
    EXPECT_EQ(contentOf(target), "old") << "nothing shows before the commit";
    taken.commit(true);
    EXPECT_EQ(contentOf(target), "new");
    EXPECT_EQ(entries(), 1U);
}

TEST_F(FileTest, AFullDiskNamesTheTargetAndLeavesNothing)
{
    // The limit on file size stands for the full disk; the signal that comes with it is ignored.
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{4096, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    try {
        OutputFile out(m_folder / "big.dmg");
        const std::vector<std::byte> data(10000);
        EXPECT_THROW(
            {
                try {
                    out.file().writeAt(0, data);
                } catch (const std::system_error& error) {
                    EXPECT_NE(std::string(error.what()).find("big.dmg"), std::string::npos);
                    throw;
                }
            },
            std::system_error);
    } catch (...) {
        ::setrlimit(RLIMIT_FSIZE, &before);
        throw;
    }
    ::setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(entries(), 0U);
}

TEST_F(FileTest, ThreadsThatMakeFilesLeaveTheUmaskAlone)
{
    const mode_t before = ::umask(027);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 8; ++i)
            threads.emplace_back([this, i] {
                for (int round = 0; round < 1500; ++round)
                    OutputFile(m_folder / std::to_string(i)).commit(true);
            });
    }
    EXPECT_EQ(::umask(before), mode_t{027});
    struct stat status { };
    for (const auto& entry : fs::directory_iterator(m_folder)) {
        ASSERT_EQ(::stat(entry.path().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, mode_t{0640});
    }
    EXPECT_EQ(entries(), 8U);
}

} // namespace
