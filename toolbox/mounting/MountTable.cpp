#include "mounting/MountTable.h"

#include <fstream>
#include <sstream>
#include <system_error>

namespace mounting {

namespace fs = std::filesystem;

namespace {

/// "\040" stands for a blank (proc(5), "mountinfo").
std::string unescaped(const std::string& text)
{
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '\\' || text.size() - at < 4) {
            plain += text[at];
            continue;
        }
        int code = 0;
        for (std::size_t digit = 1; digit <= 3; ++digit)
            code = code * 8 + (text[at + digit] - '0');
        plain += static_cast<char>(code);
        at += 3;
    }
    return plain;
}

/// Without asking what is mounted there.
fs::path resolved(const fs::path& folder)
{
    std::error_code gone;
    const fs::path parent = fs::canonical(folder.parent_path(), gone);
    return gone ? folder : parent / folder.filename();
}

} // namespace

std::optional<std::string> deviceMountedAt(const fs::path& folder)
{
    const std::string wanted = resolved(folder).string();
    std::optional<std::string> device;
    std::ifstream table("/proc/self/mountinfo");
    for (std::string line; std::getline(table, line);) {
        std::istringstream words(line);
        std::string number, parent, itsDevice, root, place, word;
        words >> number >> parent >> itsDevice >> root >> place;
        if (unescaped(place) != wanted)
            continue;
        while (words >> word && word != "-") { }
        words >> word;
        // The last one covers those before it.
        device = word == "fuse.hfsplus" ? std::optional(itsDevice) : std::nullopt;
    }
    return device;
}

} // namespace mounting
