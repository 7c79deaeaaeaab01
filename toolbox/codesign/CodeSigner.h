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
        bool dryRun = false; // only say what would be done
        std::optional<std::string> identifier{}; // of the code that is named, not of nested code
    };

    enum class Replaced { nothing, signature, brokenSignature };

    /// One piece of code that a dry run would sign.
    struct PlannedCode {
        std::filesystem::path path;
        SignedCode code;
        bool replaces = false;
    };

    struct Result {
        SignedCode code;
        Replaced replaced = Replaced::nothing;
        std::vector<PlannedCode> plan; // of a dry run, inside out
    };

    CodeSigner(Signer signer, Options options)
        : m_signer(std::move(signer))
        , m_options(std::move(options))
    { }

    /// Throws CodeError, bytes::FormatError, keychain's errors and std::system_error.
    Result sign(const std::filesystem::path& path) const;

private:
    struct Run {
        PendingChanges pending;
        std::vector<PlannedCode> done; // inside out
    };

    SignedCode signItem(const std::filesystem::path& path, bool isNested, Run& run) const;
    SignedCode signBundle(const BundleLayout& layout, bool isNested, Run& run) const;
    SignedCode signTool(const std::filesystem::path& path, bool isNested, Run& run) const;
    SignedCode signNested(const std::filesystem::path& path, Run& run) const;
    Result signImage(const std::filesystem::path& path) const;
    std::string identifierFor(
        const std::string& fromInfo, const std::filesystem::path& path, bool isNested) const;

    Signer m_signer;
    Options m_options;
};

/// Takes the signature of a file, a bundle's main executable (with its seal) or an image away.
void removeSignature(const std::filesystem::path& path);

} // namespace codesign
