#include "volumes/MountName.h"

#include <string_view>

namespace volumes {

namespace {

/// A host's folder name has at most 255 bytes; a number takes some of them.
constexpr std::size_t nameLimit = 240;

void cutAtCharacter(std::string& name, std::size_t limit)
{
    if (name.size() <= limit)
        return;
    while (limit > 0 && (static_cast<unsigned char>(name[limit]) & 0xC0) == 0x80)
        --limit;
    name.resize(limit);
}

/// Next line, line and paragraph separator: readers of a list may split there as well.
void replaceWideLineEnds(std::string& name)
{
    for (const std::string_view lineEnd : {"\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"}) {
        for (std::size_t at = 0; (at = name.find(lineEnd, at)) != std::string::npos;)
            name.replace(at, lineEnd.size(), "_");
    }
}

} // namespace

std::string mountNameFor(const std::string& volumeName)
{
    std::string name = volumeName;
    replaceWideLineEnds(name);
    for (char& unit : name) {
        const auto value = static_cast<unsigned char>(unit);
        if (unit == '/')
            unit = ':';
        else if (value < 0x20 || value == 0x7F)
            unit = '_';
    }
    cutAtCharacter(name, nameLimit);
    // A list's reader takes a path to the line's end, less the blanks there.
    name.erase(name.find_last_not_of(' ') + 1);
    return name.empty() || name == "." || name == ".." ? "Untitled" : name;
}

std::string numberedName(const std::string& name, unsigned choice)
{
    return choice == 0 ? name : name + " " + std::to_string(choice);
}

} // namespace volumes
