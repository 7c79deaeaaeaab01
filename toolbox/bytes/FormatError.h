#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace bytes {

/// Input that is not what its format says it must be. Carries where (a byte offset in the input
/// that was read, or `nowhere`) and what was expected there.
class FormatError : public std::runtime_error {
public:
    static constexpr uint64_t nowhere = UINT64_MAX;

    explicit FormatError(const std::string& what, uint64_t offset = nowhere);

    uint64_t offset() const { return m_offset; }

private:
    uint64_t m_offset;
};

} // namespace bytes
