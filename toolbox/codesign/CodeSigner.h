#pragma once

#include "codesign/BundleLayout.h"
#include "codesign/MachOSigner.h"

#include <filesystem>
#include <optional>
#include <string>

namespace codesign {

/// Signs whatever a path names: a Mach-O file, a bundle with everything in it, a disk image. All
/// changes are made beside the old files first; a failure leaves everything as it was.
class CodeSigner {
public:
    struct Options {
        bool force = false; // replace signatures that are there
        bool deep = false; // sign nested code too, inside out
        std::optional<std::string> identifier; // of the code that is named, not of nested code
    };

    enum class Replaced { nothing, signature, brokenSignature };

    struct Result {
        SignedCode code;
        Replaced replaced = Replaced::nothing;
    };

    CodeSigner(Signer signer, Options options)
        : m_signer(std::move(signer))
        , m_options(std::move(options))
    { }

    /// Throws CodeError, bytes::FormatError, keychain's errors and std::system_error.
    Result sign(const std::filesystem::path& path) const;

private:
    SignedCode signItem(
        const std::filesystem::path& path, bool isNested, PendingChanges& pending) const;
    SignedCode signBundle(const BundleLayout& layout, bool isNested, PendingChanges& pending) const;
    SignedCode signTool(
        const std::filesystem::path& path, bool isNested, PendingChanges& pending) const;
    SignedCode signNested(const std::filesystem::path& path, PendingChanges& pending) const;
    Result signImage(const std::filesystem::path& path) const;
    std::string identifierFor(
        const std::string& fromInfo, const std::filesystem::path& path, bool isNested) const;

    Signer m_signer;
    Options m_options;
};

/// Takes the signature of a file, a bundle's main executable (with its seal) or an image away.
void removeSignature(const std::filesystem::path& path);

} // namespace codesign
