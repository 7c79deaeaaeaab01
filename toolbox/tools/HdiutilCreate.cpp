#include "hfsplus/SourceError.h"
#include "tools/FailureReason.h"
#include "tools/HdiutilVerbs.h"
#include "tools/Reproducible.h"
#include "tools/Text.h"
#include "volumes/ImageCreator.h"

#include <algorithm>
#include <ostream>

namespace tools {

namespace fs = std::filesystem;

namespace {

/// Options that name what this version always makes; anything else must not pass for done.
void requireSupported(const Arguments& arguments)
{
    struct Choice {
        std::string_view option;
        std::string_view only;
    };
    for (const Choice choice : {Choice{"-fs", "HFS+"}, Choice{"-layout", "GPTSPUD"}}) {
        const auto value = arguments.value(choice.option);
        if (value && *value != choice.only)
            throw UsageError(std::string(choice.option) + ' ' + *value + ": this version makes "
                + std::string(choice.only) + " only");
    }
}

std::string volumeName(const Arguments& arguments, const fs::path& folder)
{
    if (auto name = arguments.value("-volname"))
        return *std::move(name);
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
    options.folder = session.hostPath(arguments.required("-srcfolder"));
    options.volumeName = volumeName(arguments, options.folder);
    options.format = udif::formatNamed(arguments.value("-format").value_or("UDZO")).format;
    options.level = compressionLevel(arguments);
    options.replace = arguments.has("-ov");
    options.fixedTime = fixedTime();
    options.identifierSeed = identifierSeed(options.fixedTime.has_value(),
        options.volumeName + '\0' + std::to_string(options.fixedTime.value_or(0)));
    if (session.volumes.isBeingWritten(target))
        throw volumes::VolumeError(volumes::VolumeError::Case::attachedAlready);
    try {
        volumes::createImage(target, options);
    } catch (const hfsplus::SourceError& failure) {
        return reportProblems(session, failure);
    }
    session.out << "created: " << fs::absolute(named).lexically_normal().string() << '\n';
    return 0;
}

} // namespace tools
