#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace lzfse {

/// Takes what a parser finds, in order: literals, then a match that begins right behind them.
class MatchSink {
public:
    virtual ~MatchSink() = default;
    /// A match of no length ends the content; `distance` then says nothing.
    virtual void add(std::span<const std::byte> literals, std::size_t match, uint32_t distance) = 0;
};

} // namespace lzfse
