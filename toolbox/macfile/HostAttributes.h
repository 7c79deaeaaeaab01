#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

/// The host's extended attributes in the `user.` name space, by their names without that prefix.
/// Links are never followed. What fails throws std::system_error, unless said otherwise.
namespace macfile::hostAttributes {

/// Empty where the host keeps none for such a file.
std::vector<std::string> list(const std::filesystem::path& path);

std::vector<std::byte> read(const std::filesystem::path& path, const std::string& name);

/// False when the host cannot keep this value here: no support, no room, value or name too long,
/// a link, or a file that may not be written.
bool write(
    const std::filesystem::path& path, const std::string& name, std::span<const std::byte> value);

/// Nothing happens when it is not there.
void remove(const std::filesystem::path& path, const std::string& name);

} // namespace macfile::hostAttributes
