#pragma once

#include "codesign/Requirement.h"

namespace fuzz {

/// Some code, for requirements to be asked of.
class RequirementProbe final : public codesign::RequirementSubject {
public:
    std::string identifier() const override { return "com.example.app"; }
    bool hasCodeHash(std::string_view raw) const override { return raw.size() == 20; }
    std::optional<std::string> infoValue(const std::string& key) const override
    {
        return key.empty() ? std::nullopt : std::optional<std::string>("10.4.2");
    }
    std::optional<std::string> entitlement(const std::string& key) const override
    {
        return infoValue(key);
    }
    std::optional<std::string> certificateSha1(int32_t index) const override
    {
        return index > 2 ? std::nullopt : std::optional(std::string(20, 'x'));
    }
    std::optional<std::string> certificateField(
        int32_t index, const std::string& name) const override
    {
        return index > 2 ? std::nullopt : std::optional(name);
    }
    bool certificateHasExtension(int32_t index, const std::string&) const override
    {
        return index == 0;
    }
    bool isAnchoredAtApple() const override { return false; }
    bool isAppleGeneric() const override { return true; }
    bool isTrusted(int32_t) const override { return true; }
    bool isNotarized() const override { return false; }
    uint32_t platform() const override { return 0; }
};

} // namespace fuzz
