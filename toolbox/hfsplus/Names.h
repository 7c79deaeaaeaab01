#pragma once

#include "hfsplus/NameForms.h"
#include "hfsplus/NameOrder.h"

#include <string>
#include <string_view>

/// Names as the host writes them (UTF-8, '/' separates) and as a volume stores them (decomposed
/// UTF-16, at most 255 units, ':' separates). The two swap ':' and '/' where they meet.
namespace hfsplus {

/// Bytes of a symbolic link's target, as a Mac allows.
constexpr std::size_t maximumLinkTarget = 1023;

/// The stored name for a file or folder of the host. Bytes that are not UTF-8 become "%XX", and
/// U+2400 becomes the NUL of the system's private names. Throws std::system_error that names the
/// file: ENAMETOOLONG past 255 units, EINVAL for "", ".", ".." and for names with '/' or NUL.
std::u16string nameFromHost(std::string_view name);

/// The host's name for a stored one, composed. "/" inside becomes ':'. A name that a host can't
/// have ("", ".", "..") comes out as it is: who creates files must look.
std::string hostFromName(std::u16string_view name);

/// The stored name of a volume for what a user typed: '/' stays, ':' means the same. Throws like
/// nameFromHost.
std::u16string nameFromVolumeName(std::string_view typed);

/// The volume's name as a user reads it, composed, with its '/'.
std::string volumeNameFromName(std::u16string_view name);

} // namespace hfsplus
