#include "ScriptBench.h"

#include <gtest/gtest.h>

using namespace applescript;

TEST(Language, Results)
{
    struct Row {
        const char* title;
        const char* script;
        const char* result;
    };
    const Row rows[] = {
        {"variables don't heed case", "set Count to 5\nget COUNT", "5"},
        {"text equality ignores case", "\"Demo\" is \"dEMO\"", "true"},
        {"numbers are equal by value", "{1 = 1.0, 1 = 2, 1 = \"1\"}", "{true, false, false}"},
        {"lists are equal item by item", "{1, {\"a\"}} = {1.0, {\"A\"}}", "true"},
        {"missing value equals only itself", "{missing value is missing value, 0 is missing value}",
            "{true, false}"},
        {"`&` joins texts", "\"a\" & 1 & 0.5 & true", "\"a10.5true\""},
        {"`&` joins lists", "1 & {2, 3} & \"x\"", "{1, 2, 3, \"x\"}"},
        {"casts", "{\"12\" as integer, 2.5 as integer, 7 as text, \"1.5\" as number, 5 as list}",
            "{12, 3, \"7\", 1.5, {5}}"},
        {"signs", "{-3, - -4, -0.5}", "{-3, 4, -0.5}"},
        {"a counted loop takes its bounds once",
            "set n to 3\nset s to \"\"\nrepeat with i from 1 to n\nset n to 9\nset i to 7\nset s "
            "to s & i\nend\ns",
            "\"777\""},
        {"a loop downward",
            "set s to \"\"\nrepeat with i from 5 to 1 by -2\nset s to s & i\nend\ns", "\"531\""},
        {"a loop that never runs", "set s to 0\nrepeat with i from 2 to 1\nset s to 1\nend\ns",
            "0"},
        {"`exit repeat` leaves the innermost",
            "set s to \"\"\nrepeat 2 times\nrepeat\nset s to s & \"a\"\nexit repeat\nend\nset s to "
            "s & \"b\"\nend\ns",
            "\"abab\""},
        {"`exit repeat` passes through try and if",
            "set s to 0\nrepeat\ntry\nif true then exit repeat\nend try\nset s to 1\nend\ns", "0"},
        {"branches", "if 1 = 2 then\n1\nelse if 2 = 2 then\n2\nelse\n3\nend if", "2"},
        {"`try` swallows", "try\nerror \"x\"\nend try\n5", "5"},
        {"a handler gets the text and the number",
            "try\nerror \"oops\" number 42\non error m number n\n{m, n}\nend try",
            "{\"oops\", 42}"},
        {"an application's error comes with its name",
            "tell application \"Finder\"\ntry\nget disk \"X\"\non error m\nm\nend try\nend tell",
            "\"Finder got an error: Can’t get disk \\\"X\\\".\""},
        {"a path", "POSIX file \"/Volumes/A:B/c\"", "file \"Macintosh HD:Volumes:A/B:c\""},
        {"a path joined to a text", "(POSIX file \"/a/b\") & \":c\"", "\"Macintosh HD:a:b:c\""},
        {"nothing", "delay 1", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        const ScriptRun run = runScript(row.script, {});
        EXPECT_EQ(run.message(), "");
        EXPECT_EQ(sourceForm(run.result), row.result);
    }
}

TEST(Language, OwnErrorsBearNoApplication)
{
    struct Row {
        const char* title;
        const char* script;
        int number;
        const char* message;
        const char* pointedAt;
    };
    const Row rows[] = {
        {"a script's own error", "tell application \"Finder\"\nerror \"a “b”\nc\"\nend tell", -2700,
            "a “b”\nc", "error \"a “b”\nc\""},
        {"with a number", "error \"x\" number -128", -128, "x", "error \"x\" number -128"},
        {"an error inside a handler goes on", "try\nerror \"a\"\non error\nerror \"b\"\nend try",
            -2700, "b", "error \"b\""},
        {"an unknown variable", "set x to Xyz", -2753, "The variable Xyz is not defined.", "Xyz"},
        {"no number", "delay \"soon\"", -1700, "Can’t make \"soon\" into type number.",
            "delay \"soon\""},
        {"no truth", "if 5 then delay 1", -1700, "Can’t make 5 into type boolean.",
            "if 5 then delay 1"},
        {"no integer", "repeat \"x\" times\nend", -1700, "Can’t make \"x\" into type integer.",
            "repeat \"x\" times\nend"},
        {"no file there", "(POSIX file \"/Volumes/X\") as alias", -43,
            "File file Macintosh HD:Volumes:X wasn’t found.",
            "(POSIX file \"/Volumes/X\") as alias"},
        {"another application", "tell application \"Mail\"\nactivate\nend tell", -1728,
            "Can’t get application \"Mail\".", "application \"Mail\""},
        {"nothing to ask", "bounds", -1728, "Can’t get bounds.", "bounds"},
        {"a property of no object",
            "tell application \"Finder\"\nset bounds of missing value to 5\nend", -10006,
            "Can’t set bounds of missing value to 5.", "set bounds of missing value to 5"},
        {"a command to nobody", "open \"x\"", -1708,
            "«script» doesn’t understand the “open” message.", "open \"x\""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        const ScriptRun run = runScript(row.script, {});
        EXPECT_EQ(run.message(), row.message);
        EXPECT_EQ(run.number(), row.number);
        EXPECT_EQ(run.pointedAt(row.script), row.pointedAt);
        ASSERT_TRUE(run.error);
        EXPECT_EQ(run.error->application(), "");
        EXPECT_EQ(run.error->briefMessage(), row.message);
    }
}

TEST(Language, DelaysAreCounted)
{
    EXPECT_NEAR(runScript("delay 0.5\ndelay 2\ndelay -1\ndelay", {}).seconds, 2.5, 1e-9);
    EXPECT_NEAR(runScript("repeat 4 times\ndelay 0.25\nend", {}).seconds, 1.0, 1e-9);
}
