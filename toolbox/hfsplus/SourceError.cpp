#include "hfsplus/SourceError.h"

#include <system_error>

namespace hfsplus {

SourceError::SourceError(std::filesystem::path path, std::string reason)
    : SourceError(std::vector<Problem>{{std::move(path), std::move(reason)}})
{ }

SourceError::SourceError(std::vector<Problem> problems)
    : std::runtime_error(problems.front().path.string() + ": " + problems.front().reason)
    , m_problems(std::move(problems))
{ }

std::string reasonFor(int error)
{
    return std::generic_category().message(error);
}

} // namespace hfsplus
