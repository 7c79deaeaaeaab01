#include "tools/Ditto.h"

#include "archive/CopyTree.h"
#include "archive/MakeZip.h"
#include "archive/UnpackZip.h"
#include "tools/Arguments.h"
#include "tools/Text.h"
#include "volumes/StateFolder.h"

#include <array>
#include <ostream>

namespace tools {

namespace fs = std::filesystem;

namespace {

constexpr int failureStatus = 1;
constexpr const char* usage = "Usage: ditto -c -k [--keepParent] [--sequesterRsrc | --norsrc] "
                              "<source> <destination archive>\n"
                              "       ditto -x -k <source archive>... <destination folder>\n"
                              "       ditto [--norsrc] <source>... <destination>\n";

/// Those behind the blank ask for what is done anyway.
constexpr std::array options{Option{"-c"}, Option{"-x"}, Option{"-k"}, Option{"--keepParent"},
    Option{"--sequesterRsrc"}, Option{"--norsrc"},

    Option{"--rsrc"}, Option{"-v"}, Option{"-V"}, Option{"--extattr"}, Option{"--qtn"},
    Option{"--acl"}};

/// "-ck" is "-c -k".
std::vector<std::string> plainWords(std::span<const std::string> words)
{
    std::vector<std::string> plain;
    for (const std::string& word : words) {
        const bool letters = word.size() > 2 && word[0] == '-' && word[1] != '-';
        if (!letters) {
            plain.push_back(word);
            continue;
        }
        for (const char letter : word.substr(1))
            plain.push_back(std::string("-") + letter);
    }
    return plain;
}

struct Paths {
    std::vector<std::string> given; // the sources
    std::vector<fs::path> sources;
    fs::path target;
};

Paths pathsFrom(const Arguments& arguments)
{
    if (arguments.operands().size() < 2)
        throw UsageError("a source and a destination are needed");
    const auto state = volumes::StateFolder::ofUser(volumes::StateFolder::Making::whenNeeded);
    Paths paths;
    for (const std::string& operand : arguments.operands()) {
        paths.given.push_back(operand);
        paths.sources.push_back(state.hostPath(fs::absolute(operand)));
    }
    paths.given.pop_back();
    paths.target = paths.sources.back();
    paths.sources.pop_back();
    return paths;
}

void makeArchive(const Arguments& arguments, const Paths& paths)
{
    if (paths.sources.size() != 1)
        throw UsageError("an archive is made of one source");
    archive::ZipOptions wanted{.keepParent = arguments.has("--keepParent")};
    if (arguments.has("--sequesterRsrc"))
        wanted.metadata = archive::MetadataPlace::collected;
    if (arguments.has("--norsrc"))
        wanted.metadata = archive::MetadataPlace::nowhere;
    archive::makeZip(paths.sources.front(), paths.target, wanted);
}

void run(const Arguments& arguments)
{
    const bool makes = arguments.has("-c");
    const bool unpacks = arguments.has("-x");
    if (makes && unpacks)
        throw UsageError("an archive is either made or unpacked");
    if ((makes || unpacks) != arguments.has("-k"))
        throw UsageError("this host's ditto knows zip archives only: -c -k and -x -k");
    const Paths paths = pathsFrom(arguments);
    for (std::size_t i = 0; i < paths.sources.size(); ++i)
        if (!fs::exists(paths.sources[i]))
            throw std::runtime_error("can't get real path for source '" + paths.given[i] + "'");
    if (makes)
        return makeArchive(arguments, paths);
    for (const fs::path& source : paths.sources) {
        if (unpacks)
            archive::unpackZip(source, paths.target);
        else
            archive::copyTree(source, paths.target, !arguments.has("--norsrc"));
    }
}

} // namespace

int ditto(std::span<const std::string> words, std::ostream&, std::ostream& err)
{
    try {
        run(Arguments(plainWords(words), options));
        return 0;
    } catch (const UsageError& mistake) {
        err << "ditto: " << mistake.what() << '\n' << usage;
    } catch (const std::exception& failure) {
        err << "ditto: " << oneLine(failure.what()) << '\n';
    }
    return failureStatus;
}

} // namespace tools
