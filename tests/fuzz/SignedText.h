#pragma once

#include "keychain/Cms.h"

namespace fuzz {

/// What stands for a code directory wherever a seed holds a signature or a time stamp.
inline std::span<const std::byte> signedText()
{
    static constexpr std::string_view text = "stands for a code directory";
    return std::as_bytes(std::span(text));
}

inline std::vector<keychain::CodeHash> signedHashes()
{
    return {{2, std::vector<std::byte>(32, std::byte{7})}};
}

} // namespace fuzz
