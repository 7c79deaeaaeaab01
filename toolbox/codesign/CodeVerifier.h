#pragma once

#include "codesign/CodeSubject.h"
#include "codesign/ResourceSeal.h"
#include "codesign/StaticCode.h"

#include <filesystem>
#include <functional>
#include <string>

namespace codesign {

/// Checks that signed code is what was signed: the signature itself, the code's pages, the
/// information dictionary, the resources, nested code.
class CodeVerifier {
public:
    struct Options {
        bool deep = false; // nested code as thoroughly as the code that is named
        bool strict = false; // also what a Mac refuses only when asked to be strict
        /// Hears "--prepared:PATH" and "--validated:PATH" of each piece of nested code.
        std::function<void(const std::string& line)> follow{};
    };
    struct Verdict {
        bool meetsDesignated = true; // its own designated requirement
        bool meetsTest = true; // the requirement that was asked for
    };

    /// Whether a notary answers for code, for requirements that ask.
    using NotaryQuestion = std::function<bool(const StaticCode& code)>;

    /// Borrows `roots`. Without `isNotarized` no code counts as notarized.
    explicit CodeVerifier(const keychain::TrustedRoots& roots, NotaryQuestion isNotarized = {})
        : m_roots(roots)
        , m_isNotarized(std::move(isNotarized))
    { }

    /// Throws CodeError with the first thing that does not hold, and std::system_error.
    Verdict verify(const std::filesystem::path& path, const Options& options,
        const Expression* test = nullptr) const;

private:
    Verdict checkParts(const StaticCode& code, const Expression* test, bool pagesToo) const;
    void checkPart(const StaticCode& code, const StaticCode::Part& part, const plist::Value& info,
        const std::vector<std::byte>& infoBytes, const Expression* test, Verdict& verdict,
        bool pagesToo) const;
    void checkSigner(
        const StaticCode::Part& part, const std::optional<keychain::SignatureFacts>& signer) const;
    void checkResources(const StaticCode& code, const Options& options) const;
    void checkOtherVersions(const std::filesystem::path& framework, const Options& options) const;
    bool nestedHolds(
        const SealCandidate& candidate, const NestedCode& sealed, const Options& options) const;

    const keychain::TrustedRoots& m_roots;
    NotaryQuestion m_isNotarized;
};

} // namespace codesign
