#pragma once

#include "volumes/BusyProcess.h"

#include <stdexcept>

namespace volumes {

/// Why an image can't be attached or released although neither it nor the host is at fault.
class VolumeError : public std::runtime_error {
public:
    enum class Case {
        noMountableFileSystems,
        attachedAlready, // in a way that excludes what was asked
        notAttached,
        busy, // a process works inside; `process` says which
        outOfSight, // unmounted by another program, or mounted where this one can't see it
        full, // what was changed has no room on the volume
    };

    explicit VolumeError(Case which, const std::string& detail = {}, BusyProcess process = {});

    Case which() const { return m_which; }
    const BusyProcess& process() const { return m_process; }

private:
    Case m_which;
    BusyProcess m_process;
};

} // namespace volumes
