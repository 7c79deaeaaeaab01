#include "applescript/TokenStream.h"

#include <algorithm>
#include <utility>

namespace applescript {

TokenStream::TokenStream(std::vector<Token> tokens)
    : m_tokens(std::move(tokens))
{ }

const Token& TokenStream::peek(std::size_t ahead) const
{
    return m_tokens[std::min(m_next + ahead, m_tokens.size() - 1)];
}

const Token& TokenStream::take()
{
    const Token& token = m_tokens[m_next];
    m_end = token.range.end;
    if (m_next + 1 < m_tokens.size())
        ++m_next;
    return token;
}

bool TokenStream::accept(std::string_view spelled)
{
    if (!peek().is(spelled))
        return false;
    take();
    return true;
}

Range TokenStream::expect(std::string_view spelled)
{
    if (!peek().is(spelled))
        failExpecting("“" + std::string{spelled} + "”");
    return take().range;
}

void TokenStream::expectEndOfStatement()
{
    if (peek().kind == TokenKind::endOfLine) {
        take();
        return;
    }
    if (peek().kind == TokenKind::endOfScript)
        return;
    const bool vague = peek().kind == TokenKind::unknown
        || nameForMessage(peek()) == "application constant or consideration";
    failExpecting(vague ? "end of line, etc." : "end of line");
}

void TokenStream::skipLineEnds()
{
    while (peek().kind == TokenKind::endOfLine)
        take();
}

const Token& TokenStream::takeString()
{
    const Token& token = take();
    if (token.defect == Token::Defect::badEscape)
        throw ScriptError::syntax("Expected “\"” but found unknown token.", token.defectRange);
    if (token.defect == Token::Defect::unterminated)
        throw ScriptError::syntax("Expected string but found end of script.", token.defectRange);
    return token;
}

void TokenStream::failExpecting(const std::string& what) const
{
    const Token& found = peek();
    if (found.kind == TokenKind::unclosedComment)
        throw ScriptError::syntax("Expected “*)” but found end of script.", found.range);
    throw ScriptError::syntax(
        "Expected " + what + " but found " + nameForMessage(found) + '.', rangeForMessage(found));
}

} // namespace applescript
