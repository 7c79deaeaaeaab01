#pragma once

#include "keychain/TrustedRoots.h"
#include "notary/Inspection.h"

#include <filesystem>

namespace notary {

/// Holds code against the rules of the public service (Apple, "Resolving common notarization
/// issues"): a Developer ID, a secure time stamp, the hardened runtime, intact signatures and
/// seals, no entitlement for debuggers.
class CodeInspector {
public:
    /// Borrows both; all findings go into `findings`.
    CodeInspector(const keychain::TrustedRoots& roots, Inspection& findings)
        : m_roots(roots)
        , m_findings(findings)
    { }

    /// Inspects a Mach-O file or a bundle with its main executable, not its nested code. `name` is
    /// its path in what was handed in.
    void inspectCode(const std::filesystem::path& path, const std::string& name);
    /// Inspects the signature of a disk image, which needs none.
    void inspectImage(const std::filesystem::path& path, const std::string& name);
    /// Adds to the findings what isn't about a signature.
    void mention(InspectionIssue issue) { m_findings.issues.push_back(std::move(issue)); }

private:
    struct Subject {
        const codesign::StaticCode& code;
        std::string name; // of the whole
        std::string file; // of the file that carries the signature
    };

    void inspectParts(const Subject& subject);
    void inspectPart(const Subject& subject, const codesign::StaticCode::Part& part);
    void verify(const Subject& subject);

    const keychain::TrustedRoots& m_roots;
    Inspection& m_findings;
};

} // namespace notary
