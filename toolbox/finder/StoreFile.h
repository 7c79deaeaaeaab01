#pragma once

#include "finder/DesktopStore.h"

#include <filesystem>

namespace finder {

/// The `.DS_Store` in `folder`; an empty store when there is none. Throws FormatError for a
/// damaged one and std::system_error for the host's failures.
DesktopStore readStoreOf(const std::filesystem::path& folder);

/// Replaces it as a whole, with mode 0644.
void writeStoreOf(const std::filesystem::path& folder, const DesktopStore& store);

} // namespace finder
