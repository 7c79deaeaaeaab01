#pragma once

#include <string>

namespace codesign {

/// The name that code gets from its file when nothing else names it: the last extension goes
/// unless a digit follows its dot, and a trailing version is cut down to its first number
/// ("libfrotz7.3.5.dylib" is "libfrotz7", "MyApp-1.2.3.dmg" is "MyApp-1").
std::string identifierFromFileName(const std::string& fileName);

} // namespace codesign
