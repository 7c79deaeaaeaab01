#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace mounting {

/// The device, "0:52", of the volume of ours that this process sees mounted at `folder`; none where
/// there is none. Asks the kernel's table alone: a volume whose process doesn't answer holds up
/// nobody.
std::optional<std::string> deviceMountedAt(const std::filesystem::path& folder);

} // namespace mounting
