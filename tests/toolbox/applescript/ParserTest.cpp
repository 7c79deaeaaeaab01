#include "ScriptBench.h"

#include "applescript/Parser.h"
#include "bytes/Unicode.h"

#include <gtest/gtest.h>

using namespace applescript;

namespace {

/// A tree as an expression in parentheses: what was understood, not how it was written.
struct Describe {
    std::string operator()(const ExpressionPointer& expression) const
    {
        return expression ? std::visit(*this, expression->content) : "target";
    }
    std::string operator()(const Block& block) const
    {
        std::string text;
        for (const Statement& statement : block)
            text += (text.empty() ? "" : " ") + std::visit(*this, statement.content);
        return "[" + text + "]";
    }

    std::string operator()(const node::Constant& node) const { return sourceForm(node.value); }
    std::string operator()(const node::Variable& node) const { return "$" + node.name; }
    std::string operator()(const node::ListOf& node) const
    {
        std::string text = "(list";
        for (const auto& item : node.items)
            text += " " + (*this)(item);
        return text + ")";
    }
    std::string operator()(const node::PosixFileOf& node) const
    {
        return "(path " + (*this)(node.path) + ")";
    }
    std::string operator()(const node::Element& node) const
    {
        return "<" + std::string{node.type->words} + " " + (*this)(node.key) + " of "
            + (*this)(node.container) + ">";
    }
    std::string operator()(const node::Property& node) const
    {
        return "<" + std::string{node.term->words} + " of " + (*this)(node.container) + ">";
    }
    std::string operator()(const node::Negation& node) const
    {
        return "(minus " + (*this)(node.operand) + ")";
    }
    std::string operator()(const node::Exists& node) const
    {
        return "(exists " + (*this)(node.object) + ")";
    }
    std::string operator()(const node::Cast& node) const
    {
        return "(" + (*this)(node.operand) + " as " + std::string{node.type->words} + ")";
    }
    std::string operator()(const node::Concatenation& node) const
    {
        std::string text = "(join";
        for (const auto& operand : node.operands)
            text += " " + (*this)(operand);
        return text + ")";
    }
    std::string operator()(const node::Comparison& node) const
    {
        std::string text = "(" + (*this)(node.first);
        for (const auto& [equal, operand] : node.others)
            text += (equal ? " = " : " ≠ ") + (*this)(operand);
        return text + ")";
    }

    std::string operator()(const node::Tell& node) const
    {
        return "tell " + (*this)(node.target) + (*this)(node.body);
    }
    std::string operator()(const node::Set& node) const
    {
        return (*this)(node.target) + ":=" + (*this)(node.value);
    }
    std::string operator()(const node::Repeat& node) const
    {
        std::string head = "loop";
        if (node.count)
            head += " " + (*this)(node.count);
        if (const auto& counter = node.counter) {
            head += " $" + counter->variable + " " + (*this)(counter->from) + ".."
                + (*this)(counter->to);
            head += counter->by ? " by " + (*this)(counter->by) : "";
        }
        return head + (*this)(node.body);
    }
    std::string operator()(const node::Exit&) const { return "exit"; }
    std::string operator()(const node::If& node) const
    {
        std::string text;
        for (const auto& branch : node.branches)
            text += (text.empty() ? "if " : " elif ") + (*this)(branch.condition)
                + (*this)(branch.body);
        return node.otherwise.empty() ? text : text + " else" + (*this)(node.otherwise);
    }
    std::string operator()(const node::Try& node) const
    {
        std::string text = "try" + (*this)(node.body);
        if (!node.hasHandler)
            return text;
        text += " catch " + node.messageVariable.value_or("-") + " "
            + node.numberVariable.value_or("-");
        return text + (*this)(node.handler);
    }
    std::string operator()(const node::Raise& node) const
    {
        return "raise " + (node.message ? (*this)(node.message) : "-")
            + (node.number ? " " + (*this)(node.number) : "");
    }
    std::string operator()(const node::Command& node) const
    {
        std::string text{node.verb->words};
        if (node.object)
            text += " " + (*this)(node.object);
        for (const auto& [parameter, given] : node.parameters)
            text += (given ? " +" : " -") + std::string{parameter->words};
        return text;
    }
    std::string operator()(const node::Evaluate& node) const
    {
        return "get " + (*this)(node.expression);
    }
};

std::string tree(const std::string& script)
{
    return Describe{}(Parser::parse(bytes::utf16FromUtf8(script).value()));
}

} // namespace

TEST(Parser, UnderstandsTheLayoutScript)
{
    EXPECT_EQ(tree(layoutScript({})),
        "[tell application \"Finder\"[activate delay 0.5 "
        "$diskpath:=((path \"/Volumes/Demo\") as alias) $diskname:=\"Demo\" open $diskpath "
        "$targetwindow:=missing value "
        "loop $i 1..20[try[if (exists <container window of <disk $diskname of target>>)"
        "[$targetwindow:=<container window of <disk $diskname of target>> exit]] delay 0.5] "
        "if ($targetwindow = missing value)[raise \"Timeout waiting for DMG window to open.\"] "
        "delay 0.5 "
        "loop $attempt 1..5[try[tell $targetwindow[<current view of target>:=icon view "
        "<toolbar visible of target>:=false <statusbar visible of target>:=false "
        "<bounds of target>:=(list 400 100 1000 500)] delay 0.5 "
        "$viewopts:=<icon view options of $targetwindow> "
        "tell $viewopts[<arrangement of target>:=not arranged <icon size of target>:=128 "
        "<text size of target>:=16 "
        "<background picture of target>:=((path \"/Volumes/Demo/.background/bg.png\") as alias)] "
        "$currenttarget:=<target of $targetwindow> "
        "<target of $targetwindow>:=<container of $currenttarget> delay 0.2 "
        "<target of $targetwindow>:=$currenttarget delay 0.5 exit] catch errmsg -[delay 1]] "
        "delay 0.5 "
        "try[<position of <item \"Demo.app\" of <disk $diskname of target>>>:=(list 140 178) "
        "<position of <item \"Applications\" of <disk $diskname of target>>>:=(list 460 178)] "
        "update $diskpath -registering applications delay 1 close $targetwindow]]");
}

TEST(Parser, UnderstandsEachForm)
{
    struct Row {
        const char* title;
        const char* script;
        const char* tree;
    };
    const Row rows[] = {
        {"nothing", " \r\n\t\r", "[]"},
        {"comments of all kinds", "5 -- a\n# b\n(* c (* d *) \n e *) 6", "[get 5 get 6]"},
        {"a comment sign inside a text", "\"-- (* #\"", "[get \"-- (* #\"]"},
        {"a line goes on", "5 ¬ \r\n & 6", "[get (join 5 6)]"},
        {"escapes", R"("a\"b\\c")", R"([get "a\"b\\c"])"},
        {"numbers", "{1, 0.5, 1., 1e3, .5, -3}", "[get (list 1 0.5 1.0 1000.0 0.5 (minus 3))]"},
        {"case and blanks of words", "Set X TO Icon \t View", "[$x:=icon view]"},
        {"the longest term", "set icon view options of x to not arranged",
            "[<icon view options of $x>:=not arranged]"},
        {"a word that merely begins like a term", "set positions to boundsx",
            "[$positions:=$boundsx]"},
        {"a name between bars keeps its case", "set |Icon View| to 1", "[$Icon View:=1]"},
        {"class or property", "{container of x, container \"a\" of x, disk of y, disk z}",
            "[get (list <container of $x> <container \"a\" of $x> <disk of $y> <disk $z of "
            "target>)]"},
        {"`of` from right to left", "name of item 1 of disk \"X\"",
            "[get <name of <item 1 of <disk \"X\" of target>>>]"},
        {"parentheses end what `of` reaches", "(bounds of a) as text",
            "[get (<bounds of $a> as text)]"},
        {"`as` is looser than `of`, `&` looser than `as`", "name of x as text & \"b\" is \"c\"",
            "[get ((join (<name of $x> as text) \"b\") = \"c\")]"},
        {"comparisons", "a is not b = c ≠ d is equal to e", "[get ($a ≠ $b = $c ≠ $d = $e)]"},
        {"tell on one line", "tell disk 1 to open it1", "[tell <disk 1 of target>[open $it1]]"},
        {"if on one line",
            "if a then delay 1\nif b then\ndelay 2\nelse if c\ndelay 3\nelse\ndelay 4\nend",
            "[if $a[delay 1] if $b[delay 2] elif $c[delay 3] else[delay 4]]"},
        {"loops",
            "repeat\nexit\nend\nrepeat 3 times\nend repeat\nrepeat with i from 9 to 1 by -2\nend",
            "[loop[exit] loop 3[] loop $i 9..1 by (minus 2)[]]"},
        {"handlers",
            "try\non error number n\nend error\ntry\non error m number n\nerror m number n\nend "
            "try",
            "[try[] catch - n[] try[] catch m n[raise $m $n]]"},
        {"parameters", "update x with necessity and registering applications without necessity",
            "[update $x +necessity +registering applications -necessity]"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        try {
            EXPECT_EQ(tree(row.script), row.tree);
        } catch (const ScriptError& error) {
            ADD_FAILURE() << error.what();
        }
    }
}

TEST(Parser, CompileErrorsNameTheFirstFault)
{
    struct Row {
        const char* title;
        std::string script;
        const char* message;
        const char* pointedAt;
        int number = -2741;
    };
    const Row rows[] = {
        {"a word too many", "set x to \"My \"App\"\"", "Expected end of line but found identifier.",
            "App"},
        {"a class there", "set x to \"5\" disk", "Expected end of line but found class name.",
            "disk"},
        {"a property there", "set x to \"5\" bounds", "Expected end of line but found property.",
            "bounds"},
        {"a command there", "set x to \"5\" close", "Expected end of line but found command name.",
            "close"},
        {"a number there", "set x to \"5\" 6", "Expected end of line but found number.", "6"},
        {"a real number there", "set x to 5 6.5", "Expected end of line but found real number.",
            "6.5"},
        {"a text there", "set x to 5 \"6\"", "Expected end of line but found “\"”.", "\""},
        {"an open text there", "set x to 5 \"6", "Expected end of line but found “\"”.", "\""},
        {"an enumerator there", "set x to 5 icon view",
            "Expected end of line, etc. but found application constant or consideration.",
            "icon view"},
        {"a stray sign there", "set x to 5 ; 6",
            "Expected end of line, etc. but found unknown token.", ";"},
        {"a sign of two units", "set x to 5 𝄞",
            "Expected end of line, etc. but found unknown token.", "𝄞"},
        {"a reserved word there", "set x to 5 from", "Expected end of line but found “from”.",
            "from"},
        {"in parentheses", "set x to (5 y)", "Expected “)” but found identifier.", "y"},
        {"an unknown escape", "set x to \"a\\qb\"", "Expected “\"” but found unknown token.", "q"},
        {"an open text", "set x to \"abc", "Expected string but found end of script.", ""},
        {"an open comment", "set x to 5 (* a (* b *)", "Expected “*)” but found end of script.",
            "(* a (* b *)"},
        {"apostrophes", "tell application 'Finder'",
            "Expected expression, property or key form, etc. but found unknown token.", "'"},
        {"two unknown words", "reload bundles", "A identifier can’t go after this identifier.",
            "reload bundles", -2740},
        {"a shell command", "do shell script \"id\"",
            "A identifier can’t go after this identifier.", "do shell", -2740},
        {"unknown words in an expression", "set x to exchange accounts",
            "Expected end of line but found identifier.", "accounts"},
        {"no class after `as`", "set x to y as z", "Expected class name but found identifier.",
            "z"},
        {"an open block", "tell x\ndelay 1\n", "Expected “end” but found end of script.", ""},
        {"no `to`", "set position of item \"a\" b", "Expected “to” but found identifier.", "b"},
        {"no expression", "set x to\n", "Expected expression but found end of line.", "\n"},
        {"the wrong end", "tell x\nend repeat", "Expected “tell” but found “repeat”.", "repeat"},
        {"an end alone", "end tell", "Expected expression but found “end”.", "end"},
        {"a loop is left where there is none", "exit repeat",
            "Expected expression but found “exit”.", "exit"},
        {"an unknown parameter", "update x with haste",
            "Expected parameter name but found identifier.", "haste"},
        {"a handler", "on run", "Expected expression but found “on”.", "on"},
        {"the first of two faults", "set x to (5 y)\nset y to \"\\q\"",
            "Expected “)” but found identifier.", "y"},
        {"units are counted, not bytes", "set x to \"été 日本 𝄞\" y",
            "Expected end of line but found identifier.", "y"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        const ScriptRun run = runScript(row.script, {});
        EXPECT_EQ(run.message(), row.message);
        EXPECT_EQ(run.number(), row.number);
        EXPECT_EQ(run.pointedAt(row.script), row.pointedAt);
        if (run.error) {
            EXPECT_EQ(run.error->kind(), ScriptError::Kind::syntax);
            EXPECT_EQ(run.error->application(), "");
        }
    }
}
