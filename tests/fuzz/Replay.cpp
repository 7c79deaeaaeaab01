// Runs every target once over every file of its corpus: `fuzz_replay CORPORA [TARGET ...]`. Where a
// target crashes or doesn't expect an exception, the file named last is the one that did it. Too
// much memory is a failure too, and a target without a sound seed.

#include "FuzzInput.h"

#include "bytes/File.h"

#include <algorithm>
#include <filesystem>
#include <sys/resource.h>

namespace fs = std::filesystem;

namespace {

constexpr long mostMemory = 1 << 20; // KiB

/// The most memory that this process ever had, in KiB.
long peakMemory()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

bool isCalledSound(const fs::path& path)
{
    return path.filename().string().starts_with("sound-");
}

bool replay(fuzz::Target target, const fs::path& path)
{
    std::cerr << path.parent_path().filename().string() << '/' << path.filename().string()
              << std::endl;
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    const std::vector<std::byte> input = file.read(0, file.size());

    fuzz::refusals = 0;
    const long peakBefore = peakMemory();
    target(input);
    if (peakMemory() > std::max(peakBefore, mostMemory)) {
        std::cerr << "    took more than " << mostMemory / 1024 << " MiB\n";
        return false;
    }
    if (isCalledSound(path) && fuzz::refusals != 0) {
        std::cerr << "    is refused, though it is called sound\n";
        return false;
    }
    return true;
}

bool replayAll(const std::string& name, fuzz::Target target, const fs::path& corpus)
{
    if (!fs::is_directory(corpus)) {
        std::cerr << name << " has no corpus\n";
        return false;
    }
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(corpus))
        files.push_back(entry.path());
    std::ranges::sort(files);
    if (std::ranges::none_of(files, isCalledSound)) {
        std::cerr << name << " has no sound seed\n";
        return false;
    }
    return std::ranges::count_if(files, [&](const fs::path& file) { return replay(target, file); })
        == std::ssize(files);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::cerr << "usage: fuzz_replay CORPORA [TARGET ...]\n";
        return 2;
    }
    const std::vector<std::string> chosen(argv + 2, argv + argc);
    bool allHeld = true;
    for (const auto& [name, target] : fuzz::targets()) {
        if (chosen.empty() || std::ranges::count(chosen, name) != 0)
            allHeld = replayAll(name, target, fs::path(argv[1]) / name) && allHeld;
    }
    return allHeld ? 0 : 1;
}
