#pragma once

#include <cstddef>
#include <exception>
#include <optional>
#include <string>

namespace applescript {

/// A stretch of the script in UTF-16 units; `end` is exclusive.
struct Range {
    std::size_t start = 0;
    std::size_t end = 0;

    bool operator==(const Range&) const = default;
};

/// What ends a script: it does not compile (nothing has run then), or something in it failed.
class ScriptError : public std::exception {
public:
    enum class Kind {
        syntax,
        execution,
        limit, // the interpreter's own bounds: an execution error that `try` does not catch
    };

    ScriptError(Kind kind, int number, std::string message, std::optional<Range> range = {});

    static ScriptError syntax(const std::string& message, Range range, int number = -2741);
    static ScriptError execution(int number, std::string message);
    /// An error that the application answered with; its name goes into the full message.
    static ScriptError fromApplication(int number, std::string message);
    static ScriptError limit(const std::string& what);

    Kind kind() const { return m_kind; }
    int number() const { return m_number; }
    /// Without the application's name in front.
    const std::string& briefMessage() const { return m_brief; }
    /// What a script's error handler and the user see.
    const std::string& message() const { return m_full; }
    /// Empty unless the application returned the error.
    const std::string& application() const { return m_application; }
    const std::optional<Range>& range() const { return m_range; }
    void setRange(Range range) { m_range = range; }
    const char* what() const noexcept override { return m_full.c_str(); }

private:
    Kind m_kind;
    int m_number;
    std::string m_brief, m_full, m_application;
    std::optional<Range> m_range;
};

} // namespace applescript
