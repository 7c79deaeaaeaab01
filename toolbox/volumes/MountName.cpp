#include "volumes/MountName.h"

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

} // namespace

std::string mountNameFor(const std::string& volumeName)
{
    std::string name = volumeName;
    for (char& unit : name) {
        const auto value = static_cast<unsigned char>(unit);
        if (unit == '/')
            unit = ':';
        else if (value < 0x20 || value == 0x7F)
            unit = '_';
    }
    cutAtCharacter(name, nameLimit);
    return name.empty() || name == "." || name == ".." ? "Untitled" : name;
}

std::string numberedName(const std::string& name, unsigned choice)
{
    return choice == 0 ? name : name + " " + std::to_string(choice);
}

} // namespace volumes
