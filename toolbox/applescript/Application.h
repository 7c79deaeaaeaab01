#pragma once

#include "applescript/Term.h"
#include "applescript/Value.h"

#include <string>
#include <utility>
#include <vector>

namespace applescript {

/// The application that a script talks to, as the evaluator sees it. References arrive as the
/// script wrote them, with their variables filled in; answers name objects so that they stay the
/// same object in later messages. Failures are ScriptError::fromApplication without a range.
class Application {
public:
    using Parameters = std::vector<std::pair<const Term*, bool>>;

    virtual ~Application() = default;

    virtual std::string name() const = 0;
    /// The value of a property, or the application's own name for an element.
    virtual Value get(const Reference& reference) = 0;
    virtual void set(const Reference& reference, const Value& value) = 0;
    virtual bool exists(const Reference& reference) = 0;
    /// A command with its direct object (Nothing where it has none). Returns its result.
    virtual Value perform(
        const Term& command, const Value& object, const Parameters& parameters) = 0;
    /// Whether a file lies at the Mac's path. Asked by the language itself, for `as alias`.
    virtual bool fileExists(const std::string& posixPath) = 0;
    /// The script has come to its end, or to an error.
    virtual void scriptEnded() = 0;
    /// The Mac's path of an object that is a file, a folder or a disk; empty for others.
    virtual std::string pathOf(const Reference& reference) = 0;
};

} // namespace applescript
