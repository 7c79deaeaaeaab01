#pragma once

#include "applescript/ExpressionParser.h"
#include "applescript/SyntaxTree.h"
#include "applescript/TokenStream.h"

#include <string_view>

namespace applescript {

/// Compiles a script to its syntax tree.
///
/// The subset: `tell`, `set`, `repeat`, `exit`, `if`, `try`/`on error`, `error`, the commands of
/// the dictionary, and expressions (see ExpressionParser). What lies outside it does not compile.
class Parser {
public:
    /// Throws ScriptError (syntax) for the first fault in the script's order. A script of more than
    /// `longest` UTF-16 units, or one nested deeper than Nesting allows, is a ScriptError (limit).
    static Block parse(std::u16string_view script);

    static constexpr std::size_t longest = std::size_t{1} << 18;

private:
    explicit Parser(std::u16string_view script);

    Block program();
    /// Statements up to a keyword that ends or divides the block around them.
    Block block();
    bool atEndOfBlock() const;
    void expectEnd(std::string_view word, std::string_view otherWord = {});
    Statement statement();
    node::Tell tell();
    node::Set set();
    node::Repeat repeat();
    node::Exit exitRepeat();
    node::If conditional();
    node::Try tryBlock();
    void errorHandler(node::Try& content);
    node::Raise raise();
    node::Command command();
    node::Evaluate evaluation();
    Block singleStatement();

    TokenStream m_tokens;
    int m_depth = 0;
    int m_loops = 0; // `exit repeat` needs one around it
    ExpressionParser m_expressions;
};

} // namespace applescript
