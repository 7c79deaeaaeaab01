#include "applescript/Interpreter.h"

#include "applescript/Evaluator.h"
#include "applescript/Parser.h"
#include "bytes/Unicode.h"

#include <optional>

namespace applescript {

namespace {

// The application is told of the end in either case; the script's own error is the one that counts.
Value run(const Block& program, Application& application, Clock& clock)
{
    Value result;
    try {
        result = Evaluator{application, clock}.run(program);
    } catch (const ScriptError&) {
        try {
            application.scriptEnded();
        } catch (const ScriptError&) { }
        throw;
    }
    application.scriptEnded();
    return result;
}

} // namespace

Value runScript(std::string_view script, Application& application, Clock& clock)
{
    const std::optional<std::u16string> units = bytes::utf16FromUtf8(script);
    if (!units)
        throw ScriptError::syntax("The script isn’t valid UTF-8 text.", {0, 0});
    const Range whole{0, units->size()};
    try {
        const Block program = Parser::parse(*units);
        return run(program, application, clock);
    } catch (ScriptError& error) {
        if (!error.range())
            error.setRange(whole);
        throw;
    }
}

} // namespace applescript
