#pragma once

#include "codesign/SuperBlob.h"
#include "plist/Value.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace codesign {

/// What a program asks the system to be allowed, in both forms that a signature holds.
struct Entitlements {
    /// Keeps the property list's bytes as given. Throws bytes::FormatError ("invalid entitlement
    /// plist") for what is no dictionary of texts, Booleans, integers, arrays and dictionaries.
    static Entitlements read(std::span<const std::byte> propertyList);

    Blob xmlBlob() const;
    Blob derBlob() const;
    /// The bits of a main program's executable segment that follow from Boolean entitlements.
    uint64_t executableFlags() const;

    std::vector<std::byte> xml;
    plist::Value value;
};

} // namespace codesign
