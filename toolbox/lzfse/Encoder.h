#pragma once

#include "lzfse/Parser.h"

#include <cstddef>
#include <span>
#include <vector>

namespace lzfse {

/// Makes streams. One object serves many contents, one after the other, and belongs to one thread.
/// A stream depends on its content alone.
class Encoder {
public:
    /// The whole stream of `content`, at most 12 bytes longer than it. Contents below 4 KiB become
    /// one LZVN block, others blocks with entropy coding; what doesn't shrink is stored. Throws
    /// std::length_error for a content of 2 GiB or more.
    std::vector<std::byte> encode(std::span<const std::byte> content);

private:
    Parser m_parser;
};

} // namespace lzfse
