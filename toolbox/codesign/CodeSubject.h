#pragma once

#include "codesign/Requirement.h"
#include "codesign/StaticCode.h"
#include "keychain/Cms.h"
#include "keychain/TrustedRoots.h"

#include <functional>

namespace codesign {

/// What the CMS data of one part says; none for ad hoc code. Throws CodeError when it makes no
/// sense.
std::optional<keychain::SignatureFacts> signerOf(
    const EmbeddedSignature& signature, const keychain::TrustedRoots& roots);

/// One signed part as requirements see it. Borrows everything it is given. `isNotarized` tells
/// whether a notary answers for the code; without it, none does.
class CodeSubject final : public RequirementSubject {
public:
    CodeSubject(const EmbeddedSignature& signature, const keychain::SignatureFacts* signer,
        const keychain::TrustedRoots& roots, const plist::Value& info,
        std::function<bool()> isNotarized = {});

    std::string identifier() const override;
    bool hasCodeHash(std::string_view raw) const override;
    std::optional<std::string> infoValue(const std::string& key) const override;
    std::optional<std::string> entitlement(const std::string& key) const override;
    std::optional<std::string> certificateSha1(int32_t index) const override;
    std::optional<std::string> certificateField(
        int32_t index, const std::string& name) const override;
    bool certificateHasExtension(int32_t index, const std::string& oid) const override;
    bool isAnchoredAtApple() const override;
    bool isAppleGeneric() const override;
    bool isTrusted(int32_t index) const override;
    bool isNotarized() const override { return m_isNotarized && m_isNotarized(); }
    uint32_t platform() const override;

private:
    const keychain::Certificate* certificate(int32_t index) const;
    keychain::TrustedRoots::Kind rootKind() const;

    const EmbeddedSignature& m_signature;
    const keychain::SignatureFacts* m_signer;
    const keychain::TrustedRoots& m_roots;
    const plist::Value& m_info;
    plist::Value m_entitlements;
    std::function<bool()> m_isNotarized;
};

} // namespace codesign
