#pragma once

#include <filesystem>
#include <string>

namespace codesign {

/// What a signed file must not carry, since a Mac would lose or refuse it: Finder information and
/// resource forks, as extended attributes or in a companion file. Empty when there is none, else
/// the attribute's name on a Mac.
std::string detritusOn(const std::filesystem::path& path);

/// Throws CodeError when there is some.
void requireNoDetritus(const std::filesystem::path& path);

} // namespace codesign
