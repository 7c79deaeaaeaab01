#include "volumes/ChangeLog.h"

#include "TestVolumes.h"
#include "bytes/FormatError.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;
using volumes::ChangeLog;

namespace {

std::span<const std::byte> asBytes(std::string_view text)
{
    return std::as_bytes(std::span(text));
}

std::string textOf(const bytes::ByteSource& source, uint64_t offset, std::size_t length)
{
    const auto raw = source.read(offset, length);
    return {reinterpret_cast<const char*>(raw.data()), raw.size()};
}

const std::string original(100, '.');

bytes::MemoryDevice disk()
{
    const auto raw = asBytes(original);
    return bytes::MemoryDevice({raw.begin(), raw.end()});
}

void writeLog(const bytes::ByteSource& disk, const fs::path& file)
{
    ChangeLog log(disk, file);
    log.writeAt(10, asBytes("first"));
    log.writeAt(13, asBytes("SECOND"));
    log.writeAt(99, asBytes("x"));
    EXPECT_EQ(textOf(log, 8, 14), "..firSECOND...") << "reads see what was written";
    log.commit();
}

} // namespace

TEST(ChangeLog, IsCarriedOutAsOftenAsItTakes)
{
    const TestVolumes test;
    bytes::MemoryDevice device = disk();
    const fs::path file = test.folder() / "log";
    writeLog(device, file);
    EXPECT_EQ(textOf(device, 0, 100), original) << "nothing is written before";
    std::string wanted = original;
    wanted.replace(10, 9, "firSECOND");
    wanted.back() = 'x';
    for (int round = 0; round < 2; ++round) {
        ChangeLog::carryOut(file, device);
        EXPECT_EQ(textOf(device, 0, 100), wanted);
    }
}

TEST(ChangeLog, RefusesWhatLeavesTheDisk)
{
    const TestVolumes test;
    const bytes::MemoryDevice device = disk();
    ChangeLog log(device, test.folder() / "log");
    EXPECT_THROW(log.writeAt(100, asBytes("x")), bytes::FormatError);
    EXPECT_THROW(log.writeAt(UINT64_MAX, asBytes("xx")), bytes::FormatError);
    EXPECT_TRUE(log.empty());
}

TEST(ChangeLog, ThatIsIncompleteOrOfAnotherDiskWritesNothing)
{
    const TestVolumes test;
    bytes::MemoryDevice device = disk();
    const fs::path file = test.folder() / "log";
    writeLog(device, file);
    bytes::MemoryDevice small(std::vector<std::byte>(20));
    EXPECT_THROW(ChangeLog::carryOut(file, small), bytes::FormatError);
    EXPECT_EQ(small.bytes(), std::vector<std::byte>(20));

    const std::string whole = readFile(file);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        writeFile(file, whole.substr(0, length));
        EXPECT_THROW(ChangeLog::carryOut(file, device), bytes::FormatError) << length;
    }
    EXPECT_EQ(textOf(device, 0, 100), original);
}
