#include "volumes/VolumeError.h"

namespace volumes {

namespace {

std::string textOf(VolumeError::Case which, const std::string& detail)
{
    switch (which) {
    case VolumeError::Case::noMountableFileSystems:
        return "no mountable file systems";
    case VolumeError::Case::attachedAlready:
        return "Resource temporarily unavailable";
    case VolumeError::Case::notAttached:
        return "No such file or directory";
    case VolumeError::Case::busy:
        return "Resource busy";
    case VolumeError::Case::outOfSight:
        return "another program has unmounted the volume, or this one can't see it";
    case VolumeError::Case::full:
        return "No space left on the volume" + (detail.empty() ? "" : " (" + detail + ")");
    }
    return detail;
}

} // namespace

VolumeError::VolumeError(Case which, const std::string& detail, BusyProcess process)
    : std::runtime_error(textOf(which, detail))
    , m_which(which)
    , m_process(std::move(process))
{ }

} // namespace volumes
