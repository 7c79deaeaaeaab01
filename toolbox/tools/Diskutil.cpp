#include "tools/Diskutil.h"

#include "tools/FailureReason.h"
#include "tools/Reproducible.h"
#include "tools/Text.h"
#include "volumes/AttachedVolumes.h"

#include <algorithm>
#include <array>
#include <ostream>

namespace tools {

using volumes::AttachedImage;
using volumes::StateFolder;
using volumes::VolumeError;

namespace {

struct Session {
    volumes::AttachedVolumes& volumes;
    std::string target;
    bool force;
    std::ostream& out;
    std::ostream& err;
};

std::string shownName(const AttachedImage& image)
{
    return image.volumeName.empty() ? "(null)" : oneLine(image.volumeName);
}

std::string programText(pid_t id, const std::string& program)
{
    return std::to_string(id) + " (" + program + ")";
}

void warnOfLoss(Session& session, const AttachedImage& image, const std::string& reason)
{
    if (!reason.empty())
        session.err << "Changes on " << shownName(image) << " are lost: " << oneLine(reason)
                    << '\n';
}

int reportMissing(Session& session)
{
    session.err << "Unable to find disk for " << session.target << '\n';
    return 1;
}

int unmount(Session& session)
{
    const auto [image, tidiedAway] = session.volumes.find(session.target);
    if (tidiedAway) {
        session.out << session.target << " was left by an interrupted tool and has been removed\n";
        return 0;
    }
    if (!image || image->stage == AttachedImage::Stage::unmounted)
        return reportMissing(session);
    const std::string volume = "Volume " + shownName(*image) + " on " + image->volumeDevice();
    try {
        const auto result = session.volumes.release(
            *image, {.force = session.force, .keepAttached = true, .fixedTime = fixedTime()});
        warnOfLoss(session, *image, result.lost);
    } catch (const VolumeError& failure) {
        session.err << volume << " failed to unmount: ";
        if (failure.which() == VolumeError::Case::busy) {
            const volumes::BusyProcess& process = failure.process();
            session.err << "dissented by PID " << programText(process.id, process.program)
                        << "\nDissenter parent PPID "
                        << programText(process.parentID, process.parentProgram) << '\n';
        } else {
            session.err << oneLine(failure.what()) << '\n';
        }
        return 1;
    }
    session.out << volume << (session.force ? " force-unmounted\n" : " unmounted\n");
    return 0;
}

/// Unmounts, and detaches unless asked otherwise; `done` is what is printed then.
int releaseDisk(Session& session, bool keepAttached, const std::string& done)
{
    const auto [image, tidiedAway] = session.volumes.find(session.target);
    if (!image && !tidiedAway)
        return reportMissing(session);
    try {
        if (image && (image->stage != AttachedImage::Stage::unmounted || !keepAttached)) {
            const auto result = session.volumes.release(*image,
                {.force = session.force, .keepAttached = keepAttached, .fixedTime = fixedTime()});
            warnOfLoss(session, *image, result.lost);
        }
    } catch (const VolumeError& failure) {
        session.err << (session.force ? "Forced unmount of " : "Unmount of ") << image->diskName()
                    << " failed: at least one volume could not be unmounted\n";
        if (failure.which() == VolumeError::Case::busy) {
            const volumes::BusyProcess& process = failure.process();
            session.err << "Unmount was dissented by PID "
                        << programText(process.id, process.program) << "\nDissenter parent PPID "
                        << programText(process.parentID, process.parentProgram) << '\n';
        } else {
            session.err << oneLine(failure.what()) << '\n';
        }
        return 1;
    }
    session.out << done << '\n';
    return 0;
}

int unmountDisk(Session& session)
{
    return releaseDisk(session, true,
        (session.force ? "Forced unmount of all volumes on " : "Unmount of all volumes on ")
            + session.target + " was successful");
}

int eject(Session& session)
{
    return releaseDisk(session, false, "Disk " + session.target + " ejected");
}

int printInfo(Session& session)
{
    const auto image = session.volumes.find(session.target).image;
    if (!image) {
        session.err << "Could not find disk: " << session.target << '\n';
        return 1;
    }
    const auto line = [&](std::string_view key, const std::string& value) {
        session.out << "   " << column(std::string(key) + ":", 26, Align::left) << value << '\n';
    };
    const bool mounted = image->isMounted();
    line("Device Identifier", image->volumeDevice());
    line("Device Node", "/dev/" + image->volumeDevice());
    line("Whole", image->slices.empty() ? "Yes" : "No");
    line("Part of Whole", image->diskName());
    session.out << '\n';
    line("Volume Name", shownName(*image));
    line("Mounted", mounted ? "Yes" : "No");
    line("Mount Point", image->mountPoint);
    session.out << '\n';
    line("Partition Type", image->volume.content);
    line("File System Personality", "HFS+");
    line("Type (Bundle)", "hfs");
    line("Protocol", "Disk Image");
    line("Disk Size",
        std::to_string(image->volume.length) + " Bytes (exactly "
            + std::to_string(image->volume.length / 512) + " 512-Byte-Units)");
    line("Device Block Size", "512 Bytes");
    line("Media Read-Only", image->writable ? "No" : "Yes");
    line("Volume Read-Only", image->writable ? "No" : "Yes");
    return 0;
}

struct Verb {
    std::string_view name;
    int (*run)(Session&);
    bool takesForce;
};

constexpr std::array verbs{
    Verb{"unmount", unmount, true},
    Verb{"umount", unmount, true},
    Verb{"unmountDisk", unmountDisk, true},
    Verb{"eject", eject, true},
    Verb{"info", printInfo, false},
};

int printUsage(std::ostream& err)
{
    err << "Usage: diskutil [quiet] <verb> <options>\n"
           "  diskutil unmount [force] MOUNTPOINT | DEVICE\n"
           "  diskutil unmountDisk [force] MOUNTPOINT | DEVICE\n"
           "  diskutil eject [force] MOUNTPOINT | DEVICE\n"
           "  diskutil info MOUNTPOINT | DEVICE\n";
    return 1;
}

} // namespace

int diskutil(std::span<const std::string> arguments, std::ostream& out, std::ostream& err)
{
    const bool quiet = !arguments.empty() && arguments[0] == "quiet";
    if (quiet)
        arguments = arguments.subspan(1);
    if (arguments.empty())
        return printUsage(err);
    const auto verb = std::ranges::find(verbs, arguments[0], &Verb::name);
    arguments = arguments.subspan(1);
    const bool force = !arguments.empty() && arguments[0] == "force";
    if (force)
        arguments = arguments.subspan(1);
    if (verb == verbs.end() || arguments.size() != 1 || (force && !verb->takesForce))
        return printUsage(err);

    try {
        std::ostream nowhere(nullptr);
        volumes::AttachedVolumes attached(StateFolder::ofUser(StateFolder::Making::whenNeeded));
        Session session{attached, arguments[0], force, quiet ? nowhere : out, err};
        return verb->run(session);
    } catch (const std::exception& failure) {
        err << "diskutil: " << verb->name << " failed - " << reasonOf(failure) << '\n';
        return 1;
    }
}

} // namespace tools
