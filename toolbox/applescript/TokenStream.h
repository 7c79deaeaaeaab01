#pragma once

#include "applescript/Token.h"

#include <string>
#include <string_view>
#include <vector>

namespace applescript {

/// The parser's cursor over a script's tokens, and the one place that words compile errors.
class TokenStream {
public:
    explicit TokenStream(std::vector<Token> tokens);

    const Token& peek() const { return m_tokens[m_next]; }
    /// The token `ahead` places further, or the end of the script.
    const Token& peek(std::size_t ahead) const;
    /// The end of the script is never passed.
    const Token& take();
    /// Takes the keyword or symbol when it is next.
    bool accept(std::string_view spelled);
    /// Takes it or fails. Returns its range.
    Range expect(std::string_view spelled);
    /// Takes a line end (the end of the script stays); anything else fails.
    void expectEndOfStatement();
    void skipLineEnds();
    /// Takes a string, or fails for what is wrong inside it.
    const Token& takeString();

    /// Where the token taken last ends.
    std::size_t end() const { return m_end; }

    /// "Expected {what} but found {the next token}."
    [[noreturn]] void failExpecting(const std::string& what) const;

private:
    std::vector<Token> m_tokens;
    std::size_t m_next = 0;
    std::size_t m_end = 0;
};

} // namespace applescript
