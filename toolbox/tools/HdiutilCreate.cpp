#include "hfsplus/SourceError.h"
#include "plist/PropertyList.h"
#include "tools/FailureReason.h"
#include "tools/HdiutilVerbs.h"
#include "tools/Reproducible.h"
#include "tools/Text.h"
#include "volumes/ImageCreator.h"

#include <algorithm>
#include <functional>
#include <ostream>
#include <vector>

namespace tools {

namespace fs = std::filesystem;

namespace {

/// Options that name what this version always makes; anything else must not pass for done.
void requireSupported(const Arguments& arguments)
{
    struct Choice {
        std::string_view option;
        std::vector<std::string_view> known;
    };
    for (const Choice& choice : {Choice{"-fs", {"HFS+"}}, Choice{"-layout", {"GPTSPUD", "NONE"}},
             Choice{"-type", {"UDIF"}}}) {
        const auto value = arguments.value(choice.option);
        if (value && std::ranges::find(choice.known, *value) == choice.known.end())
            throw UsageError(std::string(choice.option) + ' ' + *value + ": this version makes "
                + std::string(choice.known.front()) + " only");
    }
    if (!arguments.has("-srcfolder") && !arguments.has("-size"))
        throw UsageError("-srcfolder or -size is missing");
}

std::string volumeName(const Arguments& arguments, const fs::path& folder)
{
    if (auto name = arguments.value("-volname"))
        return *std::move(name);
    if (folder.empty())
        return "untitled";
    const fs::path normal = (folder / "").lexically_normal().parent_path();
    return normal.has_filename() ? normal.filename().string() : "untitled";
}

int reportProblems(Session& session, const hfsplus::SourceError& failure)
{
    for (const auto& problem : failure.problems())
        session.err << oneLine(problem.path.string() + ": " + problem.reason) << '\n';
    session.err << "hdiutil: create failed - "
                << (failure.problems().size() == 1 ? oneLine(failure.problems().front().reason)
                                                   : "some files can't go into a volume")
                << '\n';
    return 1;
}

} // namespace

int createImage(Session& session)
{
    const Arguments& arguments = session.arguments;
    requireSupported(arguments);
    fs::path named = arguments.onlyOperand();
    if (!named.has_extension())
        named = imagePath(named);
    const fs::path target = session.hostPath(named);

    volumes::CreateOptions options;
    if (const auto folder = arguments.value("-srcfolder"))
        options.folder = session.hostPath(*folder);
    if (const auto size = arguments.value("-size"))
        options.diskBytes = sizeFrom(*size);
    options.partitioned = arguments.value("-layout").value_or("GPTSPUD") != "NONE";
    options.volumeName = volumeName(arguments, options.folder);
    const char* const usualFormat = options.folder.empty() ? "UDRW" : "UDZO";
    options.format = udif::formatNamed(arguments.value("-format").value_or(usualFormat)).format;
    options.level = compressionLevel(arguments);
    options.replace = arguments.has("-ov");
    options.fixedTime = fixedTime();
    options.identifierSeed = identifierSeed(options.fixedTime.has_value(),
        options.volumeName + '\0' + std::to_string(options.fixedTime.value_or(0)));
    if (session.volumes.isBeingWritten(target))
        throw volumes::VolumeError(volumes::VolumeError::Case::attachedAlready);
    const auto progress = session.progress();
    options.progress = std::ref(*progress);
    try {
        volumes::createImage(target, options);
    } catch (const hfsplus::SourceError& failure) {
        return reportProblems(session, failure);
    }
    progress->pause();
    const std::string path = fs::absolute(named).lexically_normal().string();
    if (arguments.has("-plist"))
        session.out << plist::writeXml(plist::Array{path});
    else
        session.out << "created: " << path << '\n';
    return 0;
}

} // namespace tools
