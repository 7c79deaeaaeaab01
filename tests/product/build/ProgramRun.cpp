#include "ProgramRun.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// Both files get names that no other run in the folder has.
fs::path freshFile(const fs::path& folder, const char* what)
{
    static int number = 0;
    return folder / (std::string("run-") + std::to_string(++number) + "." + what);
}

} // namespace

std::string contentOf(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

ProgramRun::ProgramRun(const std::vector<std::string>& command, const fs::path& folder)
{
    const fs::path logs = folder / "logs";
    const fs::path temporary = folder / "tmp";
    fs::create_directories(logs);
    fs::create_directories(temporary);
    m_output = freshFile(logs, "out");
    m_errors = freshFile(logs, "err");

    std::vector<char*> arguments;
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);

    m_process = ::fork();
    if (m_process < 0)
        throw std::runtime_error("cannot fork");
    if (m_process == 0) {
        ::setpgid(0, 0);
        ::setenv("HOME", folder.c_str(), 1);
        ::setenv("TMPDIR", temporary.c_str(), 1);
        ::unsetenv("XDG_DATA_HOME");
        ::unsetenv("XDG_CONFIG_HOME");
        ::unsetenv("XDG_CACHE_HOME");
        ::unsetenv("XDG_RUNTIME_DIR");
        const int flags = O_WRONLY | O_CREAT | O_TRUNC;
        ::dup2(::open("/dev/null", O_RDONLY), 0);
        ::dup2(::open(m_output.c_str(), flags, 0600), 1);
        ::dup2(::open(m_errors.c_str(), flags, 0600), 2);
        if (::chdir(folder.c_str()) == 0)
            ::execvp(arguments[0], arguments.data());
        ::_exit(127);
    }
    ::setpgid(m_process, m_process);
}

ProgramRun::~ProgramRun()
{
    if (m_process > 0) {
        ::kill(-m_process, SIGKILL);
        wait();
    }
}

bool ProgramRun::awaitWords(const std::string& text) const
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (errors().find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

void ProgramRun::signal(int number) const
{
    ::kill(-m_process, number);
}

int ProgramRun::wait()
{
    int status = 0;
    if (m_process <= 0 || ::waitpid(m_process, &status, 0) != m_process)
        return -1;
    m_process = -1;
    return WIFSIGNALED(status) ? 1000 + WTERMSIG(status) : WEXITSTATUS(status);
}

std::string ProgramRun::output() const
{
    return contentOf(m_output);
}

std::string ProgramRun::errors() const
{
    return contentOf(m_errors);
}

std::uintmax_t ProgramRun::peakMemory()
{
    rusage usage{};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    return static_cast<std::uintmax_t>(usage.ru_maxrss) * 1024;
}

TemporaryFolder::TemporaryFolder(const fs::path& inside)
{
    std::string pattern = (inside / "product-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("cannot make a temporary folder");
    m_path = fs::canonical(pattern);
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::string vandor()
{
    return PROGRAMS_DIR "/vandor";
}

std::string hdiutil()
{
    return TOOLBOX_DIR "/usr/bin/hdiutil";
}

std::vector<std::string> namesIn(const fs::path& folder)
{
    std::vector<std::string> names;
    std::error_code missing;
    for (const auto& entry : fs::directory_iterator(folder, missing))
        names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}
