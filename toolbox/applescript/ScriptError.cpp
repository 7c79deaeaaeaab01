#include "applescript/ScriptError.h"

#include <utility>

namespace applescript {

ScriptError::ScriptError(Kind kind, int number, std::string message, std::optional<Range> range)
    : m_kind(kind)
    , m_number(number)
    , m_brief(std::move(message))
    , m_full(m_brief)
    , m_range(range)
{ }

ScriptError ScriptError::syntax(const std::string& message, Range range, int number)
{
    return {Kind::syntax, number, message, range};
}

ScriptError ScriptError::execution(int number, std::string message)
{
    return {Kind::execution, number, std::move(message)};
}

ScriptError ScriptError::fromApplication(int number, std::string message)
{
    ScriptError error{Kind::execution, number, std::move(message)};
    error.m_application = "Finder";
    error.m_full = error.m_application + " got an error: " + error.m_brief;
    return error;
}

ScriptError ScriptError::limit(const std::string& what)
{
    return {Kind::limit, -2707, "Internal table overflow: " + what + '.'};
}

} // namespace applescript
