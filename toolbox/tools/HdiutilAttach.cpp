#include "bytes/FormatError.h"
#include "plist/PropertyList.h"
#include "tools/HdiutilVerbs.h"
#include "tools/ImageChecks.h"
#include "tools/Reproducible.h"
#include "tools/SystemEntities.h"
#include "tools/Text.h"

#include <ostream>

namespace tools {

namespace fs = std::filesystem;
using volumes::AttachedImage;
using volumes::AttachOptions;

namespace {

void printDevice(std::ostream& out, const std::string& device, const std::string& content,
    const std::string& mountPoint)
{
    out << column("/dev/" + device, 20, Align::left) << '\t' << column(content, 31, Align::left)
        << '\t' << mountPoint << '\n';
}

void printDevices(std::ostream& out, const AttachedImage& image)
{
    const std::string disk = image.diskName();
    printDevice(out, disk, image.content, image.slices.empty() ? image.mountPoint : "");
    for (const volumes::Slice& slice : image.slices) {
        const bool mounted = slice.number == image.volume.number;
        printDevice(out, disk + "s" + std::to_string(slice.number), slice.content,
            mounted ? image.mountPoint : "");
    }
}

AttachOptions optionsFor(const Session& session)
{
    const Arguments& arguments = session.arguments;
    AttachOptions options;
    if (arguments.has("-readwrite") && arguments.has("-readonly"))
        throw UsageError("-readwrite and -readonly exclude each other");
    if (arguments.has("-readwrite"))
        options.access = AttachOptions::Access::readWrite;
    if (arguments.has("-readonly"))
        options.access = AttachOptions::Access::readOnly;
    options.mount = !arguments.has("-nomount");
    if (const auto path = arguments.value("-mountpoint"))
        options.mountPoint = *path;
    if (const auto path = arguments.value("-mountroot"))
        options.mountRoot = *path;
    return options;
}

void verifyFirst(Session& session, const fs::path& image)
{
    const udif::Verification verification = verifyShowing(image, session);
    if (!session.arguments.has("-plist"))
        printChecksums(session.out, verification);
    if (!verification.valid())
        throw bytes::FormatError(verification.findings.front().message);
}

} // namespace

int attachImage(Session& session)
{
    const fs::path image = session.hostPath(session.arguments.onlyOperand());
    const AttachOptions options = optionsFor(session);
    if (!session.arguments.has("-noverify"))
        verifyFirst(session, image);
    const volumes::AttachResult result = session.volumes.attach(image, options);
    for (const std::string& line : result.skipped)
        session.err << "hdiutil: attach: " << oneLine(line) << '\n';
    if (session.arguments.has("-plist")) {
        session.out << plist::writeXml(
            plist::Dictionary{{"system-entities", systemEntities(result.image)}});
    } else {
        printDevices(session.out, result.image);
    }
    return 0;
}

int detachImage(Session& session)
{
    constexpr int busyStatus = 16;
    const std::string& target = session.arguments.onlyOperand();
    const auto image = session.volumes.find(target).image;
    if (!image)
        throw volumes::VolumeError(volumes::VolumeError::Case::notAttached);
    int status = 0;
    try {
        const volumes::ReleaseResult result = session.volumes.release(
            *image, {.force = session.arguments.has("-force"), .fixedTime = fixedTime()});
        if (!result.lost.empty()) {
            session.err << "hdiutil: detach: changes on \"" << oneLine(image->volumeName)
                        << "\" are lost - " << oneLine(result.lost) << '\n';
            status = session.arguments.has("-force") ? 0 : 1;
        }
    } catch (const volumes::VolumeError& failure) {
        if (failure.which() != volumes::VolumeError::Case::busy)
            throw;
        session.err << "hdiutil: couldn't unmount \"" << image->diskName()
                    << "\" - Resource busy\n";
        return busyStatus;
    }
    session.out << '"' << image->diskName() << "\" ejected.\n";
    return status;
}

} // namespace tools
