#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace codesign {

/// Why code can't be signed or doesn't verify, in the words of the Mac's tool.
class CodeError : public std::runtime_error {
public:
    explicit CodeError(const std::string& message, std::filesystem::path subcomponent = {})
        : std::runtime_error(message)
        , m_subcomponent(std::move(subcomponent))
    { }

    /// The nested code that it is about; empty when it is the code that was named.
    const std::filesystem::path& subcomponent() const { return m_subcomponent; }
    /// The processor whose slice it is about; empty when it is not about one.
    const std::string& architecture() const { return m_architecture; }
    CodeError& in(std::string architecture)
    {
        m_architecture = std::move(architecture);
        return *this;
    }
    /// Each begins with "file added: " or the like.
    const std::vector<std::string>& details() const { return m_details; }
    CodeError& with(std::vector<std::string> details)
    {
        m_details = std::move(details);
        return *this;
    }

private:
    std::filesystem::path m_subcomponent;
    std::string m_architecture;
    std::vector<std::string> m_details;
};

namespace message {
inline constexpr const char* notSigned = "code object is not signed at all";
inline constexpr const char* alreadySigned = "is already signed";
inline constexpr const char* modified = "invalid signature (code or signature have been modified)";
inline constexpr const char* infoModified =
    "invalid Info.plist (plist or signature have been modified)";
inline constexpr const char* sealModified =
    "invalid resource directory (directory or signature have been modified)";
inline constexpr const char* sealMissing =
    "code has no resources but signature indicates they must be present";
inline constexpr const char* oldSeal = "resource envelope is obsolete (version 1 signature)";
inline constexpr const char* customOmissions = "resource envelope is obsolete (custom omit rules)";
inline constexpr const char* resourceModified = "a sealed resource is missing or invalid";
inline constexpr const char* nestedModified = "nested code is modified or invalid";
inline constexpr const char* badSignatureFormat = "invalid or unsupported format for signature";
inline constexpr const char* bundleRootContents = "unsealed contents present in the bundle root";
inline constexpr const char* frameworkRootContents =
    "unsealed contents present in the root directory of an embedded framework";
inline constexpr const char* frameworkVersion =
    "embedded framework contains modified or invalid version";
inline constexpr const char* linkDestination = "invalid destination for symbolic link in bundle";
inline constexpr const char* strictExecutable = "main executable failed strict validation";
inline constexpr const char* wrongTeam = "a Team Identifier is wrong or inappropriate";
inline constexpr const char* notSignable =
    "only Mach-O files, bundles of them and disk images can be signed on this host";
inline constexpr const char* unsuitableBundle =
    "bundle format unrecognized, invalid, or unsuitable";
inline constexpr const char* detritus =
    "resource fork, Finder information, or similar detritus not allowed";
} // namespace message

} // namespace codesign
