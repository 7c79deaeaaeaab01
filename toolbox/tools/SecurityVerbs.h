#pragma once

#include "keychain/IdentityStore.h"
#include "tools/Arguments.h"

#include <array>
#include <iosfwd>
#include <stdexcept>
#include <string>

/// The verbs of `security`, one function each: prints, returns the exit status, throws what fails.
namespace tools {

/// What a verb works with.
struct KeychainSession {
    const Arguments& arguments;
    keychain::IdentityStore& store;
    std::ostream& out;
    std::ostream& err;
};

/// Says what happened in the Mac's words, and with which status the tool ends.
class SecurityFailure : public std::runtime_error {
public:
    explicit SecurityFailure(const std::string& text, int status = 1)
        : std::runtime_error(text)
        , m_status(status)
    { }
    int status() const { return m_status; }

    static SecurityFailure notFound();

private:
    int m_status;
};

inline constexpr std::array findIdentityOptions{Option{"-v"}, Option{"-p", true}};
int findIdentity(KeychainSession& session);

inline constexpr std::array findCertificateOptions{
    Option{"-a"}, Option{"-c", true}, Option{"-p"}, Option{"-Z"}};
int findCertificate(KeychainSession& session);

/// Besides -P these say where to, what kind and who may use it, of which there is one answer here.
inline constexpr std::array importOptions{Option{"-P", true}, Option{"-k", true},
    Option{"-f", true}, Option{"-t", true}, Option{"-T", true}, Option{"-A"}, Option{"-x"}};
int importIdentities(KeychainSession& session);

inline constexpr std::array deleteIdentityOptions{Option{"-Z", true}, Option{"-c", true}};
int deleteIdentity(KeychainSession& session);

int createIdentity(KeychainSession& session);

} // namespace tools
