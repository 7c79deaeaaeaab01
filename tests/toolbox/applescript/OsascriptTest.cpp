#include "ScriptBench.h"

#include "tools/Osascript.h"

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

struct Outcome {
    int status = -1;
    std::string out, err;
};

Outcome osascript(const std::vector<std::string>& arguments, const std::string& input = {},
    std::vector<applescript::MountedVolume> volumes = {})
{
    std::istringstream in{input};
    std::ostringstream out, err;
    const tools::OsascriptHost host{in, [&] { return volumes; }};
    const int status = tools::osascript(arguments, host, out, err);
    return {status, out.str(), err.str()};
}

const std::string missingDisk = "tell application \"Finder\"\n\topen disk \"X\"\nend tell";

} // namespace

TEST(Osascript, PrintsResultsAndErrors)
{
    struct Row {
        const char* title;
        std::vector<std::string> arguments;
        std::string input;
        int status;
        std::string out, err;
    };
    const Row rows[] = {
        {"a result from standard input", {}, "\"a\" & 1\n", 0, "\"a1\"\n", ""},
        {"a dash is standard input", {"-"}, "{1, true}", 0, "{1, true}\n", ""},
        {"a byte order mark is no word", {}, "\xEF\xBB\xBFget 5", 0, "5\n", ""},
        {"for people", {"-s", "h", "-e", "\"a\""}, "", 0, "a\n", ""},
        {"no result", {"-e", "delay 3600"}, "", 0, "", ""},
        {"lines", {"-l", "AppleScript", "-e", "set x to 5", "-e", "x & {6}"}, "", 0, "{5, 6}\n",
            ""},
        {"words behind the script are its own", {"-e", "get 5", "one", "two"}, "", 0, "5\n", ""},
        {"an error of the application", {}, missingDisk, 1, "",
            "27:31: execution error: Finder got an error: Can’t get disk \"X\". (-1728)\n"},
        {"an error of the script", {"-e", "error \"a: (-1) b\nc\" number 7"}, "", 1, "",
            "0:28: execution error: a: (-1) b\nc (7)\n"},
        {"a compile error", {"-e", "set x to 5 y"}, "", 1, "",
            "11:12: syntax error: Expected end of line but found identifier. (-2741)\n"},
        {"no UTF-8", {}, "\"\xFF\"", 1, "",
            "0:0: syntax error: The script isn’t valid UTF-8 text. (-2741)\n"},
        {"an endless script", {"-e", "repeat\nend"}, "", 1, "",
            "0:10: execution error: Internal table overflow: the script takes more than 1000000 "
            "steps. (-2707)\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        const Outcome outcome = osascript(row.arguments, row.input);
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_EQ(outcome.out, row.out);
        EXPECT_EQ(outcome.err, row.err);
    }
}

TEST(Osascript, AFileIsNamedInItsErrors)
{
    DemoVolume volume;
    const std::string file = volume.outside().string();
    std::ofstream(file) << "set x to 5 y";
    EXPECT_EQ(osascript({file}).err,
        file + ":11:12: script error: Expected end of line but found identifier. (-2741)\n");
    std::ofstream(file) << missingDisk;
    EXPECT_EQ(osascript({file}).err,
        file + ":27:31: execution error: Finder got an error: Can’t get disk \"X\". (-1728)\n");
    const Outcome missing = osascript({file + ".none"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "osascript: " + file + ".none: No such file or directory\n");
}

TEST(Osascript, WrongUseIsRefused)
{
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {"-e"}, {"-x", "5"}, {"-l", "JavaScript", "-e", "5"}, {"-s", "q"}}) {
        const Outcome outcome = osascript(arguments);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_NE(outcome.err.find("usage: osascript"), std::string::npos);
    }
}

TEST(Osascript, StylesAVolume)
{
    DemoVolume volume;
    const Outcome outcome = osascript({}, layoutScript({}), {volume.mounted()});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_EQ(volume.style().icons.iconSize, 128);
}

TEST(Osascript, AReaderThatGoesAwayDoesNotKillIt)
{
    const std::string tool = std::string{TOOLBOX_DIR} + "/usr/bin/osascript";
    // More than a pipe holds, so that the writer notices.
    const std::string lines =
        "-e 'set x to \"0123456789abcdef\"' -e 'repeat 15 times' -e 'set x to x & x' "
        "-e 'end' -e 'x'";
    const std::string script = "\"" + tool + "\" " + lines + " | true; echo ${PIPESTATUS[0]}";
    DemoVolume volume;
    const std::string file = volume.outside().string();
    std::ofstream{file} << script << '\n';
    std::FILE* pipe = ::popen(("bash '" + file + "'").c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string seen;
    for (int c = 0; (c = std::fgetc(pipe)) != EOF;)
        seen += static_cast<char>(c);
    ::pclose(pipe);
    EXPECT_EQ(seen, "0\n"); // 141 would be the signal
}
