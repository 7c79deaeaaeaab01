#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace tools {

/// The user asks for something that the Mac's tool can do and this one can't. One line says it all.
class Unsupported : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What a call of `codesign` asks for. The tool's options have short and long forms, values behind
/// '=' or in the next word, and letters that count.
struct CodesignArguments {
    enum class Mode { sign, verify, display, removeSignature };
    enum class Stamp { asIdentityWants, wanted, refused };

    /// Throws UsageError (see Arguments.h) and Unsupported.
    static CodesignArguments read(std::span<const std::string> words);

    Mode mode = Mode::verify;
    std::string identity;
    bool force = false;
    bool deep = false;
    bool strict = false;
    bool dryRun = false;
    std::optional<uint32_t> flags; // of the code directory, from --options
    Stamp stamp = Stamp::asIdentityWants;
    std::string stampServer; // empty: the public one
    std::string entitlements; // a file to sign with, or where to show them ("-")
    bool showEntitlements = false;
    bool showRequirements = false;
    std::string identifier;
    std::optional<std::string> testRequirement;
    int verbosity = 0;
    std::vector<std::string> paths;
};

} // namespace tools
