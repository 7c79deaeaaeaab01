#pragma once

#include "codesign/CodeDirectory.h"
#include "codesign/SuperBlob.h"

#include <vector>

namespace codesign {

/// A signature as it is embedded in a slice or an image, taken apart.
struct EmbeddedSignature {
    struct Directory {
        CodeDirectory content;
        Blob blob; // what is hashed and signed

        Digest fullHash() const { return fullCodeHash(blob, content.hashType); }
        Digest shortHash() const { return shortCodeHash(blob, content.hashType); }
    };

    /// `raw` may be followed by unused room. Throws bytes::FormatError, also when there is no code
    /// directory.
    static EmbeddedSignature read(std::span<const std::byte> raw, bool strict = false);

    /// What the CMS data signs.
    const Directory& primary() const { return directories.front(); }
    /// The one with the strongest hash: whose hash "the cdhash" is.
    const Directory& best() const;
    /// In ascending order of hash type.
    std::vector<const Directory*> byHashType() const;
    /// The CMS data without its wrapper; empty for ad hoc code.
    std::span<const std::byte> cms() const;
    bool isAdhoc() const { return cms().empty(); }

    SuperBlob parts;
    std::vector<Directory> directories; // the primary one, then alternates by slot
};

} // namespace codesign
