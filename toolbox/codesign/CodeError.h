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
    /// Each begins with "file added: " or the like.
    const std::vector<std::string>& details() const { return m_details; }
    CodeError& with(std::vector<std::string> details)
    {
        m_details = std::move(details);
        return *this;
    }

private:
    std::filesystem::path m_subcomponent;
    std::vector<std::string> m_details;
};

namespace message {
inline constexpr const char* notSigned = "code object is not signed at all";
inline constexpr const char* alreadySigned = "is already signed";
inline constexpr const char* unsuitableBundle =
    "bundle format unrecognized, invalid, or unsuitable";
inline constexpr const char* detritus =
    "resource fork, Finder information, or similar detritus not allowed";
} // namespace message

} // namespace codesign
