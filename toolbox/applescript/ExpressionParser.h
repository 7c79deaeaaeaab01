#pragma once

#include "applescript/SyntaxTree.h"
#include "applescript/TokenStream.h"

namespace applescript {

/// Counts how deep the parser is in a script; throws past the bound, so that no script is deep
/// enough to exhaust the stack here, in the evaluator, or when its tree is taken down.
class Nesting {
public:
    static constexpr int deepest = 200;

    Nesting(int& depth, Range where);
    ~Nesting() { --m_depth; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

private:
    int& m_depth;
};

/// Expressions, from the loosest binding to the tightest: comparison, `&`, `as`, `of`, primary.
/// Borrows the tokens and the depth counter from the statement parser.
class ExpressionParser {
public:
    ExpressionParser(TokenStream& tokens, int& depth)
        : m_tokens(tokens)
        , m_depth(depth)
    { }

    ExpressionPointer expression();
    /// One object, without operators around it: what `set` assigns to.
    ExpressionPointer reference();
    /// The variable's name in lower case, or a compile error.
    std::string variableName();

    /// True when the next token can begin an expression.
    bool startsExpression() const;

private:
    ExpressionPointer comparison();
    ExpressionPointer concatenation();
    ExpressionPointer cast();
    ExpressionPointer primary();
    ExpressionPointer termExpression();
    ExpressionPointer elementOrProperty();
    ExpressionPointer posixFile();
    ExpressionPointer list();
    bool startsKey(const Token& token) const;

    template <typename Content>
    ExpressionPointer make(std::size_t start, Content content) const;

    TokenStream& m_tokens;
    int& m_depth;
};

} // namespace applescript
