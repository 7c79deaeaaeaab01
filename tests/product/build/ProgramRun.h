#pragma once

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

/// A program as a stranger runs it: arguments, an environment of its own, two files that take its
/// output.
class ProgramRun {
public:
    /// Starts it in `folder`, which is also its home and its folder for temporary files.
    ProgramRun(const std::vector<std::string>& command, const std::filesystem::path& folder);
    ~ProgramRun();
    ProgramRun(const ProgramRun&) = delete;
    ProgramRun& operator=(const ProgramRun&) = delete;

    /// Waits until it has said `text` on standard error; false when it didn't for a minute.
    bool awaitWords(const std::string& text) const;
    void signal(int number) const; // to the program's whole group, as a terminal does
    /// Its exit status; 1000 + number when a signal ended it.
    int wait();
    std::string output() const;
    std::string errors() const;
    /// Largest resident set of it and its children, in bytes; known after `wait`.
    static std::uintmax_t peakMemory();

private:
    std::filesystem::path m_output, m_errors;
    pid_t m_process = -1;
};

/// A folder that goes with everything in it.
class TemporaryFolder {
public:
    explicit TemporaryFolder(
        const std::filesystem::path& inside = std::filesystem::temp_directory_path());
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

std::string vandor();
std::string hdiutil();
/// What lies directly in `folder`, sorted, hidden names included.
std::vector<std::string> namesIn(const std::filesystem::path& folder);
/// A file's bytes; none when there is no such file.
std::string contentOf(const std::filesystem::path& path);
