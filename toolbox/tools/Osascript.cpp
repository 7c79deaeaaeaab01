#include "tools/Osascript.h"

#include "applescript/Clock.h"
#include "applescript/Finder.h"
#include "applescript/Interpreter.h"
#include "applescript/Parser.h"
#include "applescript/ScriptError.h"
#include "tools/Arguments.h"
#include "volumes/MountedVolume.h"
#include "volumes/StateFolder.h"

#include <cerrno>
#include <fstream>
#include <iostream>
#include <optional>
#include <system_error>
#include <utility>

namespace tools {

namespace {

struct Request {
    std::optional<std::string> lines; // of -e, joined
    std::string file; // empty or "-": standard input
    bool humanReadable = false;

    bool namesFile() const { return !lines && !file.empty() && file != "-"; }
};

std::string valueOf(std::span<const std::string>& rest, const std::string& option)
{
    if (rest.empty())
        throw UsageError("option requires an argument -- " + option.substr(1));
    const std::string value = rest.front();
    rest = rest.subspan(1);
    return value;
}

// Words behind the script are its own arguments, which no script of this subset can ask for.
Request requestOf(std::span<const std::string> rest)
{
    Request request;
    while (!rest.empty()) {
        const std::string word = rest.front();
        rest = rest.subspan(1);
        if (word == "-e") {
            const std::string line = valueOf(rest, word);
            request.lines = request.lines ? *request.lines + '\n' + line : line;
        } else if (word == "-l") {
            const std::string language = valueOf(rest, word);
            if (language != "AppleScript")
                throw UsageError("no such component \"" + language + "\".");
        } else if (word == "-s") {
            const std::string form = valueOf(rest, word);
            if (form != "h" && form != "s")
                throw UsageError("unknown output modifier: " + form);
            request.humanReadable = form == "h";
        } else if (word.size() > 1 && word.front() == '-') {
            throw UsageError("illegal option -- " + word.substr(1));
        } else {
            request.file = word;
            break;
        }
    }
    return request;
}

// No more than can still be a script; the parser refuses what is longer.
std::string readAll(std::istream& in)
{
    constexpr std::streamsize most = 4 * applescript::Parser::longest;
    std::string text(static_cast<std::size_t>(most) + 1, '\0');
    in.read(text.data(), most + 1);
    text.resize(static_cast<std::size_t>(in.gcount()));
    return text;
}

std::string readFile(const std::string& path)
{
    errno = 0;
    std::ifstream in{path, std::ios::binary};
    std::string text = in ? readAll(in) : std::string{};
    if (!in.is_open() || in.bad())
        throw std::system_error(errno != 0 ? errno : EIO, std::generic_category(), path);
    return text;
}

std::string scriptOf(const Request& request, std::istream& input)
{
    if (request.lines)
        return *request.lines;
    std::string script = request.namesFile() ? readFile(request.file) : readAll(input);
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (script.starts_with(byteOrderMark))
        script.erase(0, byteOrderMark.size());
    return script;
}

std::string errorLine(const applescript::ScriptError& error, const Request& request)
{
    std::string line = request.namesFile() ? request.file + ':' : std::string{};
    const applescript::Range range = error.range().value_or(applescript::Range{});
    line += std::to_string(range.start) + ':' + std::to_string(range.end) + ": ";
    if (error.kind() != applescript::ScriptError::Kind::syntax)
        line += "execution";
    else
        line += request.namesFile() ? "script" : "syntax";
    return line + " error: " + error.message() + " (" + std::to_string(error.number()) + ')';
}

int run(const Request& request, const OsascriptHost& host, std::ostream& out, std::ostream& err)
{
    const std::string script = scriptOf(request, host.input);
    applescript::Finder finder{host.volumes()};
    applescript::VirtualClock clock;
    try {
        const applescript::Value result = applescript::runScript(script, finder, clock);
        const auto* text = result.as<std::string>();
        const std::string shown =
            text && request.humanReadable ? *text : applescript::sourceForm(result);
        if (!result.is<applescript::Nothing>())
            out << shown << '\n';
        return 0;
    } catch (const applescript::ScriptError& error) {
        err << errorLine(error, request) << '\n';
        return 1;
    }
}

std::vector<applescript::MountedVolume> attachedVolumes()
{
    using volumes::StateFolder;
    const auto state = StateFolder::ofUser(StateFolder::Making::whenNeeded);
    std::vector<applescript::MountedVolume> seen;
    for (volumes::MountedVolume& volume : volumes::mountedVolumes(state)) {
        applescript::MountedVolume one{
            volume.name, volume.mountPoint, volume.folder, volume.writable, volume.createDate, {}};
        one.identityOf = [volume = std::move(volume)](
                             const std::string& path) -> std::optional<applescript::ItemIdentity> {
            const auto identity = volumes::identityOf(volume, path);
            if (!identity)
                return std::nullopt;
            return applescript::ItemIdentity{identity->id, identity->createDate};
        };
        seen.push_back(std::move(one));
    }
    return seen;
}

} // namespace

int osascript(std::span<const std::string> arguments, const OsascriptHost& host, std::ostream& out,
    std::ostream& err)
{
    try {
        return run(requestOf(arguments), host, out, err);
    } catch (const UsageError& error) {
        err << "osascript: " << error.what()
            << "\nusage: osascript [-l language] [-e script] [-s h|s] [programfile]\n";
        return 2;
    } catch (const std::exception& error) {
        err << "osascript: " << error.what() << '\n';
        return 1;
    }
}

int osascript(std::span<const std::string> arguments, std::ostream& out, std::ostream& err)
{
    return osascript(arguments, {std::cin, attachedVolumes}, out, err);
}

} // namespace tools
