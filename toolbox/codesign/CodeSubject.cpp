#include "codesign/CodeSubject.h"

#include "bytes/FormatError.h"
#include "codesign/CodeError.h"
#include "codesign/Signer.h"
#include "plist/PropertyList.h"

namespace codesign {

namespace {

std::optional<std::string> textIn(const plist::Value& values, const std::string& key)
{
    const plist::Value* value = values.find(key);
    if (value == nullptr)
        return std::nullopt;
    if (const auto* text = value->as<std::string>())
        return *text;
    if (const auto* boolean = value->as<bool>())
        return *boolean ? "true" : "false";
    if (const auto* number = value->as<int64_t>())
        return std::to_string(*number);
    return std::string();
}

plist::Value entitlementsOf(const EmbeddedSignature& signature)
{
    const Blob* blob = signature.parts.find(Slot::entitlements);
    if (blob == nullptr)
        return plist::Dictionary();
    try {
        return plist::read(blobContent(*blob, Magic::entitlements));
    } catch (const bytes::FormatError&) {
        return plist::Dictionary();
    }
}

} // namespace

std::optional<keychain::SignatureFacts> signerOf(
    const EmbeddedSignature& signature, const keychain::TrustedRoots& roots)
{
    if (signature.isAdhoc())
        return std::nullopt;
    std::vector<keychain::CodeHash> hashes;
    for (const EmbeddedSignature::Directory* directory : signature.byHashType()) {
        hashes.push_back(
            {static_cast<uint8_t>(directory->content.hashType), directory->fullHash()});
    }
    try {
        return keychain::readCodeSignature(
            signature.cms(), signature.primary().blob, hashes, roots);
    } catch (const bytes::FormatError&) {
        throw CodeError(message::badSignatureFormat);
    }
}

CodeSubject::CodeSubject(const EmbeddedSignature& signature, const keychain::SignatureFacts* signer,
    const keychain::TrustedRoots& roots, const plist::Value& info,
    std::function<bool()> isNotarized)
    : m_signature(signature)
    , m_signer(signer)
    , m_roots(roots)
    , m_info(info)
    , m_entitlements(entitlementsOf(signature))
    , m_isNotarized(std::move(isNotarized))
{ }

const keychain::Certificate* CodeSubject::certificate(int32_t index) const
{
    if (m_signer == nullptr || m_signer->chain.empty())
        return nullptr;
    const auto& chain = m_signer->chain;
    const auto at = index < 0 ? chain.size() - static_cast<std::size_t>(-int64_t{index})
                              : static_cast<std::size_t>(index);
    return at < chain.size() ? &chain[at] : nullptr;
}

keychain::TrustedRoots::Kind CodeSubject::rootKind() const
{
    const keychain::Certificate* root = certificate(rootCertificate);
    return root == nullptr ? keychain::TrustedRoots::Kind::none : m_roots.kindOf(*root);
}

std::string CodeSubject::identifier() const
{
    return m_signature.best().content.identifier;
}

bool CodeSubject::hasCodeHash(std::string_view raw) const
{
    for (const EmbeddedSignature::Directory& directory : m_signature.directories) {
        const Digest hash = directory.shortHash();
        if (std::string_view(reinterpret_cast<const char*>(hash.data()), hash.size()) == raw)
            return true;
    }
    return false;
}

std::optional<std::string> CodeSubject::infoValue(const std::string& key) const
{
    return textIn(m_info, key);
}

std::optional<std::string> CodeSubject::entitlement(const std::string& key) const
{
    return textIn(m_entitlements, key);
}

std::optional<std::string> CodeSubject::certificateSha1(int32_t index) const
{
    const keychain::Certificate* found = certificate(index);
    return found == nullptr ? std::nullopt : std::optional(found->rawFingerprint());
}

std::optional<std::string> CodeSubject::certificateField(
    int32_t index, const std::string& name) const
{
    const keychain::Certificate* found = certificate(index);
    return found == nullptr ? std::nullopt : found->field(name);
}

bool CodeSubject::certificateHasExtension(int32_t index, const std::string& oid) const
{
    const keychain::Certificate* found = certificate(index);
    return found != nullptr && found->hasExtension(oid);
}

bool CodeSubject::isAnchoredAtApple() const
{
    return rootKind() == keychain::TrustedRoots::Kind::apple && !isDeveloperChain(m_signer->chain);
}

bool CodeSubject::isAppleGeneric() const
{
    // On this host the rehearsal authority stands where Apple's root stands on a Mac.
    return rootKind() != keychain::TrustedRoots::Kind::none;
}

bool CodeSubject::isTrusted(int32_t index) const
{
    return certificate(index) != nullptr && m_signer->trust == keychain::Trust::trusted;
}

uint32_t CodeSubject::platform() const
{
    return m_signature.best().content.platform;
}

} // namespace codesign
