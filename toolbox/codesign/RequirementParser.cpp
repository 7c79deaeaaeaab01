#include "bytes/FormatError.h"
#include "codesign/Requirement.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace codesign {

using bytes::FormatError;

namespace {

constexpr int deepestNesting = 200;

enum class Kind { end, word, text, hash, symbol };

struct Token {
    Kind kind = Kind::end;
    std::string text{}; // a hash's raw bytes, a text without quotes
    std::size_t at = 0;
};

/// Words, quoted texts, H"..." and 0x... byte strings, symbols; comments of all three styles.
class Lexer {
public:
    explicit Lexer(std::string_view source)
        : m_source(source)
    { }

    Token next()
    {
        skipBlanks();
        Token token{.at = m_at};
        if (m_at == m_source.size())
            return token;
        const char c = m_source[m_at];
        if (c == '"') {
            token.kind = Kind::text;
            token.text = quoted();
        } else if (c == 'H' && m_source.substr(m_at + 1, 1) == "\"") {
            ++m_at;
            token.kind = Kind::hash;
            token.text = fromHex(quoted(), token.at);
        } else if (isWordCharacter(c)) {
            token = word();
        } else {
            token.kind = Kind::symbol;
            token.text = symbol();
        }
        return token;
    }

private:
    static bool isWordCharacter(char raw)
    {
        const auto c = static_cast<unsigned char>(raw);
        return std::isalnum(c) != 0 || c == '.' || c == '-' || c == '_';
    }

    Token word()
    {
        const std::size_t start = m_at;
        while (m_at < m_source.size() && isWordCharacter(m_source[m_at]))
            ++m_at;
        const std::string text(m_source.substr(start, m_at - start));
        if (text.starts_with("0x"))
            return {Kind::text, fromHex(text.substr(2), start), start};
        return {Kind::word, text, start};
    }

    std::string symbol()
    {
        for (const std::string_view two : {"=>", "<=", ">="}) {
            if (m_source.substr(m_at, 2) == two) {
                m_at += 2;
                return std::string(two);
            }
        }
        return std::string(1, m_source[m_at++]);
    }

    std::string quoted()
    {
        const std::size_t start = m_at++;
        std::string text;
        while (m_at < m_source.size() && m_source[m_at] != '"') {
            if (m_source[m_at] == '\\' && m_at + 1 < m_source.size())
                ++m_at;
            text += m_source[m_at++];
        }
        if (m_at == m_source.size())
            throw FormatError("a quoted text of the requirement does not end", start);
        ++m_at;
        return text;
    }

    static std::string fromHex(const std::string& digits, std::size_t at)
    {
        std::string raw;
        for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
            unsigned byte = 0;
            const char* end = digits.data() + i + 2;
            if (std::from_chars(digits.data() + i, end, byte, 16).ptr != end)
                throw FormatError("not a hexadecimal number in the requirement", at);
            raw += static_cast<char>(byte);
        }
        if (digits.size() % 2 != 0)
            throw FormatError("half a byte in the requirement", at);
        return raw;
    }

    void skipBlanks()
    {
        while (m_at < m_source.size()) {
            const std::string_view rest = m_source.substr(m_at);
            if (std::isspace(static_cast<unsigned char>(rest[0])) != 0)
                ++m_at;
            else if (rest.starts_with("/*"))
                m_at = std::min(m_source.find("*/", m_at + 2), m_source.size() - 2) + 2;
            else if (rest.starts_with("//") || rest.starts_with("#"))
                m_at = std::min(m_source.find('\n', m_at), m_source.size());
            else
                return;
        }
    }

    std::string_view m_source;
    std::size_t m_at = 0;
};

class Parser {
public:
    explicit Parser(std::string_view source)
        : m_lexer(source)
    {
        advance();
    }

    Expression whole()
    {
        skipPrefix();
        Expression expression = either();
        if (m_token.kind != Kind::end)
            fail("the end of the requirement");
        return expression;
    }

private:
    /// "designated =>" says which requirement of a set this is.
    void skipPrefix()
    {
        if (isWord("designated") || isWord("host") || isWord("library") || isWord("plugin")
            || isWord("guest")) {
            advance();
            expectSymbol("=>");
        }
    }

    Expression either() { return chain("or", Op::either, &Parser::both); }
    Expression both() { return chain("and", Op::both, &Parser::primary); }

    Expression chain(const char* word, Op op, Expression (Parser::*operand)())
    {
        Expression left = (this->*operand)();
        if (!acceptWord(word))
            return left;
        Expression joined{.op = op};
        joined.operands.push_back(std::move(left));
        enter();
        joined.operands.push_back(chain(word, op, operand));
        --m_depth;
        return joined;
    }

    void enter()
    {
        if (++m_depth > deepestNesting)
            fail("less nesting");
    }

    Expression primary()
    {
        enter();
        Expression expression = primaryInside();
        --m_depth;
        return expression;
    }

    Expression primaryInside()
    {
        if (acceptSymbol("(")) {
            Expression inner = either();
            expectSymbol(")");
            return inner;
        }
        if (acceptSymbol("!")) {
            Expression negated{.op = Op::negated};
            negated.operands.push_back(primary());
            return negated;
        }
        if (acceptWord("always") || acceptWord("true"))
            return {.op = Op::always};
        if (acceptWord("never") || acceptWord("false"))
            return {.op = Op::never};
        if (acceptWord("notarized"))
            return {.op = Op::notarized};
        if (acceptWord("legacy"))
            return {.op = Op::legacy};
        if (acceptWord("identifier")) {
            acceptSymbol("=");
            return {.op = Op::identifier, .key = data()};
        }
        if (acceptWord("cdhash")) {
            acceptSymbol("=");
            return {.op = Op::codeHash, .key = hash()};
        }
        if (acceptWord("platform")) {
            expectSymbol("=");
            return {.op = Op::platform, .certificate = integer()};
        }
        if (acceptWord("anchor"))
            return anchor();
        if (acceptWord("certificate") || acceptWord("cert"))
            return certificate();
        if (acceptWord("info"))
            return field(Op::infoField);
        if (acceptWord("entitlement"))
            return field(Op::entitlementField);
        fail("a requirement");
    }

    Expression anchor()
    {
        if (acceptWord("apple")) {
            if (acceptWord("generic"))
                return {.op = Op::appleGenericAnchor};
            return {.op = Op::appleAnchor};
        }
        if (acceptWord("trusted"))
            return {.op = Op::anchorTrusted};
        return behindCertificate(rootCertificate);
    }

    Expression certificate()
    {
        if (acceptWord("leaf"))
            return behindCertificate(leafCertificate);
        if (acceptWord("root"))
            return behindCertificate(rootCertificate);
        const bool negative = acceptSymbol("-");
        const int32_t index = integer();
        return behindCertificate(negative ? -index : index);
    }

    Expression behindCertificate(int32_t index)
    {
        if (acceptWord("trusted"))
            return {.op = Op::certificateTrusted, .certificate = index};
        if (acceptSymbol("="))
            return {.op = Op::certificateHash, .certificate = index, .key = hash()};
        Expression expression = field(Op::certificateField);
        expression.certificate = index;
        static constexpr std::pair<std::string_view, Op> kinds[] = {
            {"field.", Op::certificateExtension}, {"policy.", Op::certificatePolicy},
            {"timestamp.", Op::certificateTimestamp}};
        for (const auto& [prefix, op] : kinds) {
            if (expression.key.starts_with(prefix)) {
                expression.op = op;
                expression.key = oidBytes(std::string_view(expression.key).substr(prefix.size()));
            }
        }
        return expression;
    }

    Expression field(Op op)
    {
        expectSymbol("[");
        Expression expression{.op = op, .key = data()};
        expectSymbol("]");
        match(expression);
        return expression;
    }

    void match(Expression& expression)
    {
        static constexpr std::pair<std::string_view, Match> comparisons[] = {{"=", Match::equal},
            {"~", Match::contains}, {"<", Match::lessThan}, {">", Match::greaterThan},
            {"<=", Match::lessEqual}, {">=", Match::greaterEqual}};
        expression.match = Match::exists;
        if (acceptWord("exists"))
            return;
        if (acceptWord("absent")) {
            expression.match = Match::absent;
            return;
        }
        for (const auto& [symbol, match] : comparisons) {
            if (!acceptSymbol(symbol))
                continue;
            expression.match = match;
            if (acceptWord("timestamp")) {
                expression.date = integer();
                expression.match = dated(match);
                return;
            }
            const bool openStart = match == Match::equal && acceptSymbol("*");
            expression.value = data();
            if (openStart)
                expression.match = Match::endsWith;
            else if (match == Match::equal && acceptSymbol("*"))
                expression.match = Match::beginsWith;
            return;
        }
    }

    static Match dated(Match match)
    {
        switch (match) {
        case Match::lessThan:
            return Match::before;
        case Match::greaterThan:
            return Match::after;
        case Match::lessEqual:
            return Match::onOrBefore;
        case Match::greaterEqual:
            return Match::onOrAfter;
        default:
            return Match::on;
        }
    }

    std::string data()
    {
        if (m_token.kind != Kind::word && m_token.kind != Kind::text)
            fail("a name");
        return take();
    }

    std::string hash()
    {
        if (m_token.kind != Kind::hash)
            fail("a hash, H\"...\"");
        return take();
    }

    int32_t integer()
    {
        int32_t value = 0;
        const char* end = m_token.text.data() + m_token.text.size();
        if (m_token.kind != Kind::word
            || std::from_chars(m_token.text.data(), end, value).ptr != end)
            fail("a number");
        advance();
        return value;
    }

    std::string take()
    {
        std::string text = std::move(m_token.text);
        advance();
        return text;
    }

    bool isWord(std::string_view word) const
    {
        return m_token.kind == Kind::word && m_token.text == word;
    }
    bool acceptWord(std::string_view word)
    {
        const bool found = isWord(word);
        if (found)
            advance();
        return found;
    }
    bool acceptSymbol(std::string_view symbol)
    {
        const bool found = m_token.kind == Kind::symbol && m_token.text == symbol;
        if (found)
            advance();
        return found;
    }
    void expectSymbol(const char* symbol)
    {
        if (!acceptSymbol(symbol))
            fail(symbol);
    }
    void advance() { m_token = m_lexer.next(); }
    [[noreturn]] void fail(const std::string& expected) const
    {
        throw FormatError("the requirement does not read on: expected " + expected, m_token.at);
    }

    Lexer m_lexer;
    Token m_token;
    int m_depth = 0;
};

} // namespace

Expression parseRequirement(std::string_view text)
{
    return Parser(text).whole();
}

} // namespace codesign
