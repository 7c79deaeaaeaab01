#pragma once

#include "tools/Program.h"

#include <filesystem>
#include <string>
#include <vector>

/// What a tool printed and returned.
struct Outcome {
    int status = 0;
    std::string out;
    std::string err;
};

Outcome run(tools::Command command, const std::vector<std::string>& arguments);

/// The real program, as a process: `path` is absolute. A signal that ended it gives 128 and its
/// number.
Outcome runProgram(const std::filesystem::path& path, const std::vector<std::string>& arguments);

/// A folder of its own for each test, whose state folder the tools use; removed at the end.
class ToolTest {
public:
    ToolTest();
    ~ToolTest();
    ToolTest(const ToolTest&) = delete;
    ToolTest& operator=(const ToolTest&) = delete;

    const std::filesystem::path& folder() const { return m_folder; }
    std::string path(const std::string& name) const { return m_folder / name; }
    /// Where a mounted volume's files are.
    std::filesystem::path volume(const std::string& name) const;
    /// A folder like that of a build: an application, a background, a link.
    std::filesystem::path source() const;
    /// A writable image of `source()`; its path.
    std::string image(const std::string& fileName, const std::string& volumeName = "Disk") const;

private:
    std::filesystem::path m_folder;
};

void writeFile(const std::filesystem::path& path, const std::string& content);
std::string readFile(const std::filesystem::path& path);
/// A line for all that is below a folder: path, kind, link target, checksum of the content.
std::vector<std::string> treeOf(const std::filesystem::path& folder);
