#include "volumes/BusyProcess.h"

#include <array>
#include <charconv>
#include <fstream>
#include <string_view>
#include <system_error>
#include <unistd.h>

namespace volumes {

namespace fs = std::filesystem;

namespace {

/// Processes end while we look at them: whatever can't be read is not there.
std::string linkTarget(const fs::path& link)
{
    std::error_code gone;
    return fs::read_symlink(link, gone).string();
}

bool leadsInto(const std::string& folder, const fs::path& link)
{
    const std::string target = linkTarget(link);
    return target.starts_with(folder)
        && (target.size() == folder.size() || target[folder.size()] == '/');
}

/// Files in a process's memory may have been closed.
bool hasInMemory(const std::string& folder, const fs::path& process)
{
    std::ifstream maps(process / "maps");
    for (std::string line; std::getline(maps, line);) {
        const std::size_t path = line.find('/'); // the last of its columns, and the first slash
        if (path != std::string::npos && line.compare(path, folder.size(), folder) == 0
            && line.size() > path + folder.size() && line[path + folder.size()] == '/')
            return true;
    }
    return false;
}

bool holdsSomethingIn(const std::string& folder, const fs::path& process)
{
    if (leadsInto(folder, process / "cwd") || leadsInto(folder, process / "exe"))
        return true;
    std::error_code gone;
    for (fs::directory_iterator entry(process / "fd", gone), end; !gone && entry != end;
         entry.increment(gone)) {
        if (leadsInto(folder, entry->path()))
            return true;
    }
    return hasInMemory(folder, process);
}

std::string programOf(pid_t id)
{
    const fs::path process = fs::path("/proc") / std::to_string(id);
    if (std::string program = linkTarget(process / "exe"); !program.empty())
        return program;
    std::string name;
    std::getline(std::ifstream(process / "comm"), name);
    return name;
}

pid_t parentOf(pid_t id)
{
    std::ifstream status(fs::path("/proc") / std::to_string(id) / "status");
    for (std::string line; std::getline(status, line);) {
        constexpr std::string_view key = "PPid:\t";
        pid_t parent = 0;
        if (line.starts_with(key)) {
            std::from_chars(line.data() + key.size(), line.data() + line.size(), parent);
            return parent;
        }
    }
    return 0;
}

} // namespace

std::optional<BusyProcess> processUsing(const fs::path& folder)
{
    std::error_code gone;
    const std::string inside = fs::canonical(folder, gone).string();
    if (gone)
        return std::nullopt;
    for (fs::directory_iterator entry("/proc", gone), end; !gone && entry != end;
         entry.increment(gone)) {
        const std::string name = entry->path().filename();
        pid_t id = 0;
        const auto [last, fault] = std::from_chars(name.data(), name.data() + name.size(), id);
        if (fault != std::errc{} || last != name.data() + name.size() || id == ::getpid())
            continue;
        if (holdsSomethingIn(inside, entry->path())) {
            const pid_t parent = parentOf(id);
            return BusyProcess{id, programOf(id), parent, programOf(parent)};
        }
    }
    return std::nullopt;
}

} // namespace volumes
