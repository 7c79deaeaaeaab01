#include "applescript/Token.h"

namespace applescript {

namespace {

std::string nameOfTerm(const Term& term)
{
    if (term.has(Term::isClass))
        return "class name";
    if (term.has(Term::isProperty))
        return "property";
    if (term.has(Term::isEnumerator))
        return "application constant or consideration";
    return term.has(Term::isCommand) ? "command name" : "parameter name";
}

} // namespace

std::string nameForMessage(const Token& token)
{
    switch (token.kind) {
    case TokenKind::endOfLine:
        return "end of line";
    case TokenKind::endOfScript:
    case TokenKind::unclosedComment:
        return "end of script";
    case TokenKind::identifier:
        return "identifier";
    case TokenKind::integer:
        return "number";
    case TokenKind::real:
        return "real number";
    case TokenKind::string:
        return "“\"”";
    case TokenKind::keyword:
    case TokenKind::symbol:
        return "“" + token.text + "”";
    case TokenKind::term:
        return nameOfTerm(*token.term);
    case TokenKind::unknown:
        return "unknown token";
    }
    return {};
}

Range rangeForMessage(const Token& token)
{
    if (token.kind == TokenKind::string)
        return {token.range.start, token.range.start + 1};
    return token.range;
}

} // namespace applescript
