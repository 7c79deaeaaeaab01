#include "tools/Hdiutil.h"

#include "tools/FailureReason.h"
#include "tools/HdiutilVerbs.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <ostream>
#include <string_view>
#include <system_error>

namespace tools {

namespace fs = std::filesystem;
using volumes::StateFolder;

namespace {

struct Verb {
    std::string_view name;
    std::span<const Option> options;
    int (*run)(Session&);
    std::string_view usage;
};

constexpr std::array verbs{
    Verb{"create", createOptions, createImage,
        "-srcfolder FOLDER | -size NUMBER[b|k|m|g|t] [-volname NAME] [-fs HFS+]"
        " [-layout GPTSPUD|NONE] [-format FORMAT] [-imagekey KEY=VALUE] [-ov] [-plist]"
        " [-puppetstrings] IMAGE"},
    Verb{"attach", attachOptions, attachImage,
        "[-readwrite | -readonly] [-noverify] [-noautoopen] [-nobrowse] [-nomount]"
        " [-mountpoint PATH | -mountroot PATH] [-plist] [-puppetstrings] IMAGE"},
    Verb{"mount", attachOptions, attachImage, "(as attach)"},
    Verb{"detach", detachOptions, detachImage, "[-force] MOUNTPOINT | DEVICE"},
    Verb{"eject", detachOptions, detachImage, "(as detach)"},
    Verb{"convert", convertOptions, convertImage,
        "IMAGE -format FORMAT -o IMAGE [-imagekey KEY=VALUE] [-ov] [-puppetstrings]"},
    Verb{"verify", verifyOptions, verifyImage, "[-puppetstrings] IMAGE"},
    Verb{"checksum", checksumOptions, printChecksum,
        "-type CRC32|SHA1|SHA256|SHA384|SHA512 [-plist] [-puppetstrings] IMAGE"},
    Verb{"info", infoOptions, printAttachedImages, "[-plist]"},
    Verb{"imageinfo", {}, printImageInfo, "IMAGE"},
};

/// Taken by every verb. The last two ask for more text than there is.
constexpr std::array commonOptions{Option{"-quiet"}, Option{"-verbose"}, Option{"-debug"}};

int printUsage(std::ostream& err)
{
    err << "Usage: hdiutil <verb> <options>\n";
    for (const Verb& verb : verbs)
        err << "  hdiutil " << verb.name << (verb.usage.empty() ? "" : " ") << verb.usage << '\n';
    return 1;
}

/// VANDOR_ATTACH=folder lays volumes out in folders also where the host could mount them.
volumes::Appearance wantedAppearance()
{
    const char* wanted = std::getenv("VANDOR_ATTACH");
    return wanted != nullptr && std::string_view(wanted) == "folder" ? volumes::Appearance::laidOut
                                                                     : volumes::Appearance::mounted;
}

int run(const Verb& verb, std::span<const std::string> words, std::ostream& out, std::ostream& err)
{
    std::vector<Option> known(verb.options.begin(), verb.options.end());
    known.insert(known.end(), commonOptions.begin(), commonOptions.end());
    try {
        const Arguments arguments(words, known);
        std::ostream nowhere(nullptr);
        volumes::AttachedVolumes attached(
            StateFolder::ofUser(StateFolder::Making::whenNeeded), wantedAppearance());
        Session session{arguments, attached, arguments.has("-quiet") ? nowhere : out, err};
        return verb.run(session);
    } catch (const UsageError& mistake) {
        err << "hdiutil: " << verb.name << ": " << mistake.what() << "\nUsage: hdiutil "
            << verb.name << ' ' << verb.usage << '\n';
    } catch (const std::exception& failure) {
        err << "hdiutil: " << verb.name << " failed - " << reasonOf(failure) << '\n';
    }
    return 1;
}

} // namespace

fs::path Session::hostPath(const std::string& path) const
{
    return volumes.state().hostPath(fs::absolute(path));
}

std::unique_ptr<Progress> Session::progress() const
{
    if (arguments.has("-puppetstrings"))
        return std::make_unique<Progress>(out, Progress::Form::percents);
    if (!arguments.has("-plist"))
        return std::make_unique<Progress>(out, Progress::Form::dots);
    static std::ostream nowhere(nullptr);
    return std::make_unique<Progress>(nowhere, Progress::Form::dots);
}

int hdiutil(std::span<const std::string> arguments, std::ostream& out, std::ostream& err)
{
    if (arguments.empty())
        return printUsage(err);
    const auto verb = std::ranges::find(verbs, arguments[0], &Verb::name);
    if (verb == verbs.end()) {
        err << "hdiutil: " << arguments[0] << ": unknown verb\n";
        return printUsage(err);
    }
    return run(*verb, arguments.subspan(1), out, err);
}

uint64_t sizeFrom(const std::string& text)
{
    constexpr std::string_view units = "bkmgt"; // after the first a kilobyte and its powers
    uint64_t number = 0;
    const char* const last = text.data() + text.size();
    const auto [end, fault] = std::from_chars(text.data(), last, number);
    unsigned shift = 0;
    bool isKnown = fault == std::errc{} && last - end <= 1;
    if (isKnown && end != last) {
        const std::size_t unit =
            units.find(static_cast<char>(std::tolower(static_cast<unsigned char>(*end))));
        isKnown = unit != std::string_view::npos;
        shift = unit == 0 ? 9 : static_cast<unsigned>(10 * unit);
    }
    if (!isKnown || number == 0 || number > (UINT64_MAX >> 1) >> shift)
        throw UsageError("-size " + text + ": no size");
    return number << shift & ~uint64_t{511};
}

std::optional<int> compressionLevel(const Arguments& arguments)
{
    const auto key = arguments.value("-imagekey");
    if (!key)
        return std::nullopt;
    struct Row {
        std::string_view name;
        int largest;
    };
    for (const auto& [name, largest] : {Row{"zlib-level=", 12}, Row{"bzip2-level=", 9}}) {
        int level = 0;
        if (!key->starts_with(name))
            continue;
        const char* last = key->data() + key->size();
        const auto [end, fault] = std::from_chars(key->data() + name.size(), last, level);
        if (fault == std::errc{} && end == last && level >= 1 && level <= largest)
            return level;
    }
    throw UsageError("-imagekey " + *key + ": unknown key or value");
}

fs::path imagePath(fs::path path)
{
    if (!path.has_filename())
        throw std::system_error(EISDIR, std::generic_category(), path.string());
    constexpr std::string_view extension = ".dmg";
    const std::string given = path.extension().string();
    const bool has = std::ranges::equal(
        given, extension, {}, [](unsigned char letter) { return std::tolower(letter); });
    if (!has)
        path += extension;
    return path;
}

} // namespace tools
