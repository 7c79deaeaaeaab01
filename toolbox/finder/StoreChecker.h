#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace finder {

/// What is known of the volume whose root holds the store.
struct VolumeFacts {
    std::string volumeName; // as a user reads it
    std::set<std::u16string> rootNames; // as the volume stores them
    /// The catalog id of the volume's file at a path ("/.background/bg.png"), if there is one;
    /// empty: not looked at.
    std::function<std::optional<uint32_t>(const std::string& path)> fileAt;
    uint32_t created = 0; // the header's date; 0: not looked at
};

struct StoreFinding {
    std::string message;
    /// True when a Finder refuses, ignores or trips over what it reads. False when it copes and
    /// only the picture or an icon is not where somebody may have wanted it, as in images whose
    /// makers put one store into all of them.
    bool damage = true;
};

/// Looks at a `.DS_Store` as a Finder would that is about to open the volume's window, and at its
/// bookkeeping. Independent of the code that writes settings. No findings: nothing to object to.
std::vector<StoreFinding> checkStore(std::span<const std::byte> file, const VolumeFacts& facts);

} // namespace finder
