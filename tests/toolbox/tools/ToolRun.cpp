#include "ToolRun.h"

#include "bytes/Crc32.h"
#include "bytes/Unicode.h"
#include "hfsplus/NameForms.h"
#include "mounting/Mount.h"
#include "tools/Hdiutil.h"
#include "tools/Text.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <span>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// Other readers unpack names as a volume has them, decomposed.
std::string composedText(const std::string& text)
{
    const auto units = bytes::utf16FromUtf8(text);
    return units ? bytes::utf8FromUtf16(hfsplus::composed(*units)) : text;
}

/// Short enough to be read in a failure's message.
std::string contentText(const std::string& content)
{
    const auto crc = bytes::crc32(std::as_bytes(std::span(content)));
    return ": " + std::to_string(content.size()) + " bytes, " + tools::crcText(crc);
}

} // namespace

Outcome run(tools::Command command, const std::vector<std::string>& arguments)
{
    std::ostringstream out;
    std::ostringstream err;
    const int status = command(arguments, out, err);
    return {status, out.str(), err.str()};
}

Outcome runProgram(const fs::path& path, const std::vector<std::string>& arguments)
{
    std::string pattern = (fs::temp_directory_path() / "output-XXXXXX").string();
    const fs::path folder = ::mkdtemp(pattern.data());
    // std::system keeps the streams apart without code of our own; quotes keep every character.
    std::string line = "exec '" + path.string() + "'";
    for (std::string word : arguments) {
        for (std::size_t at = 0; (at = word.find('\'', at)) != std::string::npos; at += 4)
            word.replace(at, 1, "'\\''");
        line += " '" + word + "'";
    }
    line += " >" + (folder / "out").string() + " 2>" + (folder / "err").string();
    const int status = std::system(line.c_str());
    Outcome outcome{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
        readFile(folder / "out"), readFile(folder / "err")};
    fs::remove_all(folder);
    return outcome;
}

ToolTest::ToolTest()
{
    std::string pattern = (fs::temp_directory_path() / "tools-XXXXXX").string();
    m_folder = ::mkdtemp(pattern.data());
    ::setenv("VANDOR_STATE", path("state").c_str(), 1);
}

ToolTest::~ToolTest()
{
    ::unsetenv("VANDOR_STATE");
    ::unsetenv("SOURCE_DATE_EPOCH");
    std::vector<fs::path> mounted;
    for (fs::recursive_directory_iterator entry(m_folder), end; entry != end; ++entry) {
        if (!entry->is_directory() || !mounting::isMountedAt(*entry))
            continue;
        entry.disable_recursion_pending();
        mounted.push_back(*entry);
    }
    for (const fs::path& volume : mounted)
        mounting::unmount(volume, true);
    fs::remove_all(m_folder);
}

fs::path ToolTest::volume(const std::string& name) const
{
    return m_folder / "state/Volumes" / name;
}

fs::path ToolTest::source() const
{
    const fs::path folder = m_folder / "source";
    if (fs::exists(folder))
        return folder;
    const fs::path contents = folder / "Sample.app/Contents";
    writeFile(contents / "MacOS/Sample", "#!/bin/sh\n" + std::string(300'000, '#'));
    fs::permissions(contents / "MacOS/Sample", fs::perms(0755));
    writeFile(contents / "Info.plist", "<plist/>");
    writeFile(contents / "Resources/Zoë's “file”.txt", "text");
    writeFile(contents / "Resources/empty", "");
    fs::create_directory_symlink("Contents", folder / "Sample.app/Current");
    writeFile(folder / ".background/picture.png", "a picture");
    fs::create_directory_symlink("/Applications", folder / "Applications");
    return folder;
}

std::string ToolTest::image(const std::string& fileName, const std::string& volumeName) const
{
    const Outcome made = run(tools::hdiutil,
        {"create", "-volname", volumeName, "-srcfolder", source(), "-ov", "-format", "UDRW",
            path(fileName)});
    EXPECT_EQ(made.status, 0) << made.err;
    return path(fileName);
}

void writeFile(const fs::path& path, const std::string& content)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

std::string readFile(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<std::string> treeOf(const fs::path& folder)
{
    std::vector<std::string> lines;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        std::string line = entry.path().lexically_relative(folder).string();
        if (entry.is_symlink())
            line += " -> " + fs::read_symlink(entry.path()).string();
        else if (entry.is_directory())
            line += "/";
        else
            line += contentText(readFile(entry.path()));
        lines.push_back(composedText(line));
    }
    std::ranges::sort(lines);
    return lines;
}
