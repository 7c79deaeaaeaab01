#include "tools/SetFile.h"

#include "macfile/Metadata.h"
#include "tools/Arguments.h"
#include "tools/FailureReason.h"
#include "tools/Text.h"
#include "volumes/StateFolder.h"

#include <algorithm>
#include <array>
#include <ostream>

namespace tools {

namespace fs = std::filesystem;
using volumes::StateFolder;

namespace {

constexpr int usageStatus = 1;
constexpr int failureStatus = 2;

struct Attribute {
    char letter; // sets; the small letter clears
    uint16_t flag = 0;
    uint16_t extendedFlag = 0;
};

/// All but `L`, locked: that is a flag of the file system, which this host has no place for.
constexpr std::array attributes{
    Attribute{'A', macfile::finderFlag::alias}, Attribute{'B', macfile::finderFlag::bundle},
    Attribute{'C', macfile::finderFlag::customIcon}, Attribute{'D', macfile::finderFlag::onDesk},
    Attribute{'E', macfile::finderFlag::hiddenExtension},
    Attribute{'I', macfile::finderFlag::inited}, Attribute{'M', macfile::finderFlag::shared},
    Attribute{'N', macfile::finderFlag::noInits}, Attribute{'S', macfile::finderFlag::nameLocked},
    Attribute{'T', macfile::finderFlag::stationery}, Attribute{'V', macfile::finderFlag::invisible},
    Attribute{'Z', 0, 0x0080}, // the object is busy
};

/// What is to be changed in the Finder information of every file.
struct Change {
    uint16_t setFlags = 0, clearFlags = 0;
    uint16_t setExtended = 0, clearExtended = 0;
    std::optional<uint32_t> type, creator;
};

void addLetters(Change& change, const std::string& letters)
{
    for (const char letter : letters) {
        const bool sets = letter >= 'A' && letter <= 'Z';
        const char capital = sets ? letter : static_cast<char>(letter - 'a' + 'A');
        const auto attribute = std::ranges::find(attributes, capital, &Attribute::letter);
        if (attribute == attributes.end())
            throw UsageError(std::string("-a: no such attribute here: ") + letter);
        auto& flags = sets ? change.setFlags : change.clearFlags;
        auto& extended = sets ? change.setExtended : change.clearExtended;
        flags = static_cast<uint16_t>(flags | attribute->flag);
        extended = static_cast<uint16_t>(extended | attribute->extendedFlag);
    }
}

std::optional<uint32_t> fourLetters(const Arguments& arguments, std::string_view option)
{
    const auto text = arguments.value(option);
    if (!text)
        return std::nullopt;
    if (text->size() > 4)
        throw UsageError(std::string(option) + ": four letters at most");
    std::string padded = *text;
    padded.resize(4, ' ');
    uint32_t code = 0;
    for (const char letter : padded)
        code = code << 8 | static_cast<unsigned char>(letter);
    return code;
}

Change changeFrom(const Arguments& arguments)
{
    Change change;
    addLetters(change, arguments.value("-a").value_or(""));
    change.type = fourLetters(arguments, "-t");
    change.creator = fourLetters(arguments, "-c");
    if (arguments.operands().empty())
        throw UsageError("a path is missing");
    return change;
}

macfile::FinderInfo changed(macfile::FinderInfo info, const Change& change)
{
    info.flags = static_cast<uint16_t>((info.flags | change.setFlags) & ~change.clearFlags);
    info.extendedFlags =
        static_cast<uint16_t>((info.extendedFlags | change.setExtended) & ~change.clearExtended);
    info.type = change.type.value_or(info.type);
    info.creator = change.creator.value_or(info.creator);
    return info;
}

void apply(const fs::path& path, const Change& change)
{
    macfile::Metadata metadata = macfile::readMetadata(path);
    const macfile::FinderInfo before = metadata.finder();
    const macfile::FinderInfo after = changed(before, change);
    if (after == before)
        return;
    metadata.setFinder(after);
    macfile::writeMetadata(path, metadata);
}

bool setOne(
    const StateFolder& state, const std::string& given, const Change& change, std::ostream& err)
{
    try {
        // The tool follows a link; what the host keeps is kept with the file behind it.
        const fs::path path = state.hostPath(fs::absolute(given));
        if (!fs::exists(path)) {
            err << "ERROR: File Not Found. (-43)  on file: " << oneLine(given) << " \n";
            return false;
        }
        apply(fs::is_symlink(path) ? fs::canonical(path) : path, change);
        return true;
    } catch (const std::exception& failure) {
        err << "ERROR: " << reasonOf(failure) << "  on file: " << oneLine(given) << " \n";
        return false;
    }
}

} // namespace

int setFile(std::span<const std::string> arguments, std::ostream&, std::ostream& err)
{
    constexpr std::array known{Option{"-a", true}, Option{"-t", true}, Option{"-c", true}};
    try {
        const Arguments parsed(arguments, known);
        const Change change = changeFrom(parsed);
        const auto state = StateFolder::ofUser(StateFolder::Making::whenNeeded);
        bool allDone = true;
        for (const std::string& path : parsed.operands())
            allDone = setOne(state, path, change, err) && allDone;
        return allDone ? 0 : failureStatus;
    } catch (const UsageError& mistake) {
        err << "SetFile: " << mistake.what()
            << "\nUsage: SetFile [-a attributes] [-t type] [-c creator] file...\n";
        return usageStatus;
    } catch (const std::exception& failure) {
        err << "ERROR: " << reasonOf(failure) << '\n';
        return failureStatus;
    }
}

} // namespace tools
