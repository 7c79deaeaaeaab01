#pragma once

#include "codesign/MachOSigner.h"

#include <filesystem>

namespace codesign {

/// What is known of the signature on a Mach-O file without checking that it holds.
enum class SignedState { notSigned, linkerSigned, isSigned, broken };

SignedState signedStateOf(const std::filesystem::path& machOFile);

/// What others need to know of code that is signed already: a Mach-O file or a bundle. Throws
/// CodeError when it isn't, bytes::FormatError when its signature makes no sense.
SignedCode readSignedCode(const std::filesystem::path& path);

/// The Mach-O file that carries the signature of `path`: itself, or a bundle's main executable.
std::filesystem::path signatureCarrier(const std::filesystem::path& path);

} // namespace codesign
