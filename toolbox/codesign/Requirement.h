#pragma once

#include "codesign/SuperBlob.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace codesign {

/// What a requirement's expression may say, with the numbers of the binary form (Apple's
/// published requirement.h).
enum class Op : uint32_t {
    never = 0,
    always = 1,
    identifier = 2,
    appleAnchor = 3,
    certificateHash = 4,
    infoKeyValue = 5, // old form of infoField with a plain comparison
    both = 6,
    either = 7,
    codeHash = 8,
    negated = 9,
    infoField = 10,
    certificateField = 11,
    certificateTrusted = 12,
    anchorTrusted = 13,
    certificateExtension = 14,
    appleGenericAnchor = 15,
    entitlementField = 16,
    certificatePolicy = 17,
    namedAnchor = 18,
    namedCode = 19,
    platform = 20,
    notarized = 21,
    certificateTimestamp = 22,
    legacy = 23,
};

enum class Match : uint32_t {
    exists = 0,
    equal = 1,
    contains = 2,
    beginsWith = 3,
    endsWith = 4,
    lessThan = 5,
    greaterThan = 6,
    lessEqual = 7,
    greaterEqual = 8,
    on = 9,
    before = 10,
    after = 11,
    onOrBefore = 12,
    onOrAfter = 13,
    absent = 14,
};

/// Certificates are counted from the leaf; the root has a number of its own.
inline constexpr int32_t leafCertificate = 0;
inline constexpr int32_t rootCertificate = -1;

/// One node of a requirement. Which fields count depends on `op`.
struct Expression {
    Op op = Op::never;
    int32_t certificate = leafCertificate; // or the platform's number
    std::string key{}; // identifier, hash, field name, OID content bytes
    Match match = Match::exists;
    std::string value{}; // what `match` compares with
    int64_t date = 0; // for the matches on dates: seconds since 2001
    std::vector<Expression> operands{};

    bool operator==(const Expression&) const = default;
};

/// The designated requirement is what other code asks of this code to take it for the same.
enum class RequirementKind : uint32_t {
    host = 1,
    guest = 2,
    designated = 3,
    library = 4,
    plugin = 5
};

/// Reads the binary form of one requirement (magic included). Throws bytes::FormatError, also for
/// nesting that no signer makes.
Expression readRequirement(std::span<const std::byte> blob);
Blob writeRequirement(const Expression& expression);
/// As the language spells it, e.g. `identifier "com.example.app" and anchor apple generic`.
std::string requirementText(const Expression& expression);
/// Reads the language. Throws bytes::FormatError with the position of what was not expected.
Expression parseRequirement(std::string_view text);

/// What evaluating asks of the code at hand.
class RequirementSubject {
public:
    virtual ~RequirementSubject() = default;
    virtual std::string identifier() const = 0;
    virtual bool hasCodeHash(std::string_view raw) const = 0;
    virtual std::optional<std::string> infoValue(const std::string& key) const = 0;
    virtual std::optional<std::string> entitlement(const std::string& key) const = 0;
    /// None when the chain has no such certificate.
    virtual std::optional<std::string> certificateSha1(int32_t index) const = 0;
    virtual std::optional<std::string> certificateField(
        int32_t index, const std::string& name) const = 0;
    /// `oid` as its content bytes.
    virtual bool certificateHasExtension(int32_t index, const std::string& oid) const = 0;
    virtual bool isAnchoredAtApple() const = 0; // the vendor's own code
    virtual bool isAppleGeneric() const = 0; // any chain that ends at an accepted root
    virtual bool isTrusted(int32_t index) const = 0;
    virtual bool isNotarized() const = 0;
    virtual uint32_t platform() const = 0;
};

bool satisfies(const RequirementSubject& subject, const Expression& expression);

/// The content bytes of a dotted object identifier, and back.
std::string oidBytes(std::string_view dotted);
std::string oidText(std::string_view content);

/// What a Developer ID signer writes by default: identifier, accepted root, the two marker
/// extensions of the chain, and the team.
Expression developerIdRequirement(const std::string& identifier, const std::string& team);
/// For development certificates: identifier, accepted root, the leaf's common name.
Expression developmentRequirement(const std::string& identifier, const std::string& commonName);
/// For chains that end elsewhere: identifier and the SHA-1 of one certificate of the chain.
Expression privateChainRequirement(
    const std::string& identifier, int32_t certificate, const std::string& sha1);
/// Of ad hoc code: any of these hashes.
Expression codeHashRequirement(const std::vector<std::string>& hashes);

/// A set that holds one designated requirement, or none (ad hoc code).
Blob requirementSet(const std::optional<Expression>& designated);
/// None when the set has no designated requirement. Throws bytes::FormatError.
std::optional<Expression> designatedRequirement(std::span<const std::byte> set);

} // namespace codesign
