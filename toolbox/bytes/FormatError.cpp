#include "bytes/FormatError.h"

namespace bytes {

FormatError::FormatError(const std::string& what, uint64_t offset)
    : std::runtime_error(
        offset == nowhere ? what : what + " (at byte " + std::to_string(offset) + ")")
    , m_offset(offset)
{ }

} // namespace bytes
