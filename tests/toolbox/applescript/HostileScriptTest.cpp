#include "ScriptBench.h"

#include "applescript/Evaluator.h"
#include "applescript/Parser.h"

#include <chrono>
#include <gtest/gtest.h>
#include <random>

using namespace applescript;

namespace {

std::string repeated(const std::string& text, int times)
{
    std::string out;
    for (int i = 0; i < times; ++i)
        out += text;
    return out;
}

} // namespace

TEST(HostileScript, BoundsEndItWithAnError)
{
    struct Row {
        const char* title;
        std::string script;
    };
    const Row rows[] = {
        {"an endless loop", "repeat\nend"},
        {"a long loop", "repeat with i from 1 to 1000000000\nend"},
        {"a loop that catches its end", "repeat\ntry\nrepeat\nend\nend try\nend"},
        {"a text that doubles", "set x to \"ab\"\nrepeat\nset x to x & x\nend"},
        {"many long texts",
            "set x to \"" + std::string(60000, 'x') + "\"\nrepeat\nset y to x & x & x & x\nend"},
        {"messages without end", "tell application \"Finder\"\nrepeat\nexists disk 1\nend\nend"},
        {"a list that doubles", "set x to {1}\nrepeat\nset x to x & x\nend"},
        {"a list that holds itself twice", "set x to {1}\nrepeat\nset x to {x, x}\nend"},
        {"a list in a list in a list", "set x to {}\nrepeat\nset x to {x}\nend"},
        {"parentheses", repeated("(", 100000) + "1"},
        {"braces", "set x to " + repeated("{", 100000)},
        {"signs", "set x to " + repeated(" -", 100000) + "1"},
        {"properties of properties", repeated("name of ", 30000) + "x"},
        {"existence of existence", repeated("exists ", 30000) + "x"},
        {"blocks", repeated("tell x\n", 30000)},
        {"tells on one line", repeated("tell x to ", 20000) + "open"},
        {"branches on one line", repeated("if a then ", 20000) + "open"},
        {"a script too long", std::string(Parser::longest + 1, '\n')},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        const auto start = std::chrono::steady_clock::now();
        const ScriptRun run = runScript(row.script, {});
        ASSERT_TRUE(run.error);
        EXPECT_EQ(run.error->kind(), ScriptError::Kind::limit) << run.message();
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds{20});
    }
}

TEST(HostileScript, LongChainsAreNotDeep)
{
    const std::string script = "set x to 1" + repeated(" & 1", 5000) + "\nset y to 1"
        + repeated(" = 1", 20000) + "\nif false then\n" + repeated("else if false then\n", 5000)
        + "end if\nget x";
    const ScriptRun run = runScript(script, {});
    EXPECT_EQ(run.message(), "");
}

TEST(HostileScript, NestingThatScriptsUseWorks)
{
    EXPECT_EQ(sourceForm(runScript(repeated("(", 40) + "7" + repeated(")", 40), {}).result), "7");
    const std::string nested =
        repeated("if true then\n", 100) + "set x to 7\n" + repeated("end\n", 100);
    EXPECT_EQ(sourceForm(runScript(nested, {}).result), "7");
}

TEST(HostileScript, EveryTruncationOfTheLayoutScriptEnds)
{
    const std::string script = layoutScript({.volumeName = "Dé\U0001D11Emo"});
    DemoVolume volume;
    std::size_t syntaxErrors = 0;
    for (std::size_t length = 0; length < script.size(); ++length) {
        const std::string cut{script.data(), length};
        const ScriptRun run = runScript(cut, {volume.mounted()});
        EXPECT_EQ(run.error.has_value(), length > 0) << length;
        if (run.error)
            syntaxErrors += run.error->kind() == ScriptError::Kind::syntax;
    }
    // "t", "te" and "tel" are variables; the last "end" does without its word.
    EXPECT_EQ(syntaxErrors + 5 + 1, script.size());
    EXPECT_FALSE(volume.hasStore());
}

TEST(HostileScript, RandomWordsEnd)
{
    std::vector<std::string> words = {"\n", "\n", "\n", " ", "\"x\"", "\"Demo\"", "\"Demo.app\"",
        "5", "-1", "0.5", "x", "w", "i", "(", ")", "{", "}", ",", "&", "=", "≠", "\"", "\\", "¬\n",
        "(*", "*)", "--", "𝄞", "tell application \"Finder\"", "end tell", "end", "tell", "set",
        "to", "of", "repeat", "repeat 3 times", "exit repeat", "if", "then", "else", "try",
        "on error", "on error m number n", "error", "as", "POSIX file", "true", "missing value",
        "is", "is not", "with", "without", "from", "by", "POSIX file \"/Volumes/Demo\"",
        "disk \"Demo\"", "window 1"};
    for (const Term& term : dictionary())
        words.emplace_back(term.words);

    std::mt19937 random{20260102};
    int compiled = 0;
    DemoVolume volume;
    for (int round = 0; round < 20000; ++round) {
        std::string script = round % 2 ? "tell application \"Finder\"\nopen disk 1\n" : "";
        const auto count = random() % 12;
        for (unsigned i = 0; i < count; ++i)
            script += words[random() % words.size()] + " ";
        script += round % 2 ? "\nend tell" : "";
        const ScriptRun run = runScript(script, {volume.mounted()});
        compiled += !run.error || run.error->kind() != ScriptError::Kind::syntax;
        ASSERT_TRUE(!run.error || run.error->range().has_value()) << script;
    }
    EXPECT_GT(compiled, 200); // else the words would only try the parser
}

TEST(HostileScript, AnyBytesEnd)
{
    std::mt19937 random{7};
    const std::string script = layoutScript({});
    DemoVolume volume;
    for (int round = 0; round < 3000; ++round) {
        std::string damaged = script;
        for (int i = 0; i < 3; ++i)
            damaged[random() % damaged.size()] = static_cast<char>(random());
        runScript(damaged, {volume.mounted()});
    }
    SUCCEED();
}
