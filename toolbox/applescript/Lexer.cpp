#include "applescript/Lexer.h"

#include "bytes/Unicode.h"

#include <charconv>
#include <cstdlib>
#include <limits>
#include <optional>

namespace applescript {

namespace {

// Reserved words, those of AppleScript that this subset has no use for included: a script that
// writes one where it can't stand is told so by name.
constexpr std::string_view reservedWords[] = {"about", "above", "after", "against", "and",
    "apart from", "around", "as", "aside from", "at", "back", "before", "beginning", "behind",
    "below", "beneath", "beside", "between", "but", "by", "considering", "contain", "contains",
    "continue", "copy", "div", "does", "eighth", "else", "end", "equal", "equals", "error", "every",
    "exit", "false", "fifth", "first", "for", "fourth", "from", "front", "get", "given", "global",
    "if", "ignoring", "in", "instead of", "into", "is", "is equal to", "is not", "is not equal to",
    "it", "its", "last", "local", "me", "middle", "missing value", "mod", "my", "ninth", "not",
    "of", "on", "onto", "or", "out of", "over", "posix file", "property", "put", "ref", "reference",
    "repeat", "return", "returning", "script", "second", "set", "seventh", "since", "sixth", "some",
    "tell", "tenth", "that", "the", "then", "third", "through", "thru", "times", "to",
    "transaction", "true", "try", "until", "where", "while", "whose", "with", "without"};

constexpr std::u16string_view symbols = u"(){},&+-*/^=≠<>≤≥«»";

bool isBlank(char16_t unit)
{
    return unit == u' ' || unit == u'\t' || unit == 0xA0;
}
bool isLineEnd(char16_t unit)
{
    return unit == u'\n' || unit == u'\r';
}
bool isDigit(char16_t unit)
{
    return unit >= u'0' && unit <= u'9';
}

// ASCII and the Latin letters of U+00C0 to U+024F.
bool isLetter(char16_t unit)
{
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') || unit == u'_'
        || (unit >= 0xC0 && unit <= 0x24F && unit != 0xD7 && unit != 0xF7);
}
bool isWordUnit(char16_t unit)
{
    return isLetter(unit) || isDigit(unit);
}

char16_t lowered(char16_t unit)
{
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}

class Lexer {
public:
    explicit Lexer(std::u16string_view script)
        : m_script(script)
    { }

    std::vector<Token> run();

private:
    char16_t at(std::size_t position) const
    {
        return position < m_script.size() ? m_script[position] : u'\0';
    }
    void add(TokenKind kind, std::size_t end);
    std::string textUpTo(std::size_t end) const
    {
        return bytes::utf8FromUtf16(m_script.substr(m_at, end - m_at));
    }

    bool skipBlanksAndComments();
    std::optional<std::size_t> endOfContinuation() const;
    std::size_t endOfBlockComment() const;
    std::size_t endOfWords(std::string_view words) const;
    void scanLineEnd();
    void scanWord();
    void scanQuotedIdentifier();
    void scanNumber();
    void scanString();
    void scanSymbol();

    std::u16string_view m_script;
    std::size_t m_at = 0;
    std::vector<Token> m_tokens;
};

std::vector<Token> Lexer::run()
{
    while (skipBlanksAndComments()) {
        const char16_t unit = at(m_at);
        if (isLineEnd(unit))
            scanLineEnd();
        else if (isLetter(unit))
            scanWord();
        else if (unit == u'|')
            scanQuotedIdentifier();
        else if (isDigit(unit) || (unit == u'.' && isDigit(at(m_at + 1))))
            scanNumber();
        else if (unit == u'"')
            scanString();
        else
            scanSymbol();
    }
    add(TokenKind::endOfScript, m_at);
    return std::move(m_tokens);
}

// Moves on to `end`; the token's text is what lies between.
void Lexer::add(TokenKind kind, std::size_t end)
{
    Token token;
    token.kind = kind;
    token.range = {m_at, end};
    token.text = textUpTo(end);
    m_tokens.push_back(std::move(token));
    m_at = end;
}

// False at the end of the script.
bool Lexer::skipBlanksAndComments()
{
    while (m_at < m_script.size()) {
        const char16_t unit = at(m_at);
        if (isBlank(unit)) {
            ++m_at;
        } else if (const auto continued = endOfContinuation()) {
            m_at = *continued;
        } else if (unit == u'#' || (unit == u'-' && at(m_at + 1) == u'-')) {
            while (m_at < m_script.size() && !isLineEnd(at(m_at)))
                ++m_at;
        } else if (unit == u'(' && at(m_at + 1) == u'*') {
            const std::size_t end = endOfBlockComment();
            if (end == std::u16string_view::npos)
                add(TokenKind::unclosedComment, m_script.size());
            else
                m_at = end;
        } else {
            return true;
        }
    }
    return false;
}

// The sign U+00AC and the line end behind it are one blank.
std::optional<std::size_t> Lexer::endOfContinuation() const
{
    if (at(m_at) != 0xAC)
        return std::nullopt;
    std::size_t end = m_at + 1;
    while (isBlank(at(end)))
        ++end;
    if (!isLineEnd(at(end)))
        return std::nullopt;
    return end + (at(end) == u'\r' && at(end + 1) == u'\n' ? 2 : 1);
}

std::size_t Lexer::endOfBlockComment() const
{
    std::size_t depth = 1;
    for (std::size_t i = m_at + 2; i + 1 < m_script.size(); ++i) {
        if (at(i) == u'(' && at(i + 1) == u'*') {
            ++depth;
            ++i;
        } else if (at(i) == u'*' && at(i + 1) == u')') {
            if (--depth == 0)
                return i + 2;
            ++i;
        }
    }
    return std::u16string_view::npos;
}

void Lexer::scanLineEnd()
{
    add(TokenKind::endOfLine, m_at + (at(m_at) == u'\r' && at(m_at + 1) == u'\n' ? 2 : 1));
}

// Where `words` end when they stand here, else 0.
std::size_t Lexer::endOfWords(std::string_view words) const
{
    std::size_t end = m_at;
    for (const char wanted : words) {
        if (wanted == ' ') {
            if (!isBlank(at(end)))
                return 0;
            while (isBlank(at(end)))
                ++end;
        } else if (lowered(at(end++)) != lowered(static_cast<unsigned char>(wanted))) {
            return 0;
        }
    }
    return isWordUnit(at(end)) ? 0 : end;
}

void Lexer::scanWord()
{
    std::size_t longest = 0;
    const Term* found = nullptr;
    std::string_view reserved;
    for (const Term& term : dictionary()) {
        if (const std::size_t end = endOfWords(term.words); end > longest) {
            longest = end;
            found = &term;
        }
    }
    for (const std::string_view word : reservedWords) {
        if (const std::size_t end = endOfWords(word); end > longest) {
            longest = end;
            reserved = word;
        }
    }
    if (!reserved.empty()) {
        add(TokenKind::keyword, longest);
        m_tokens.back().text = reserved == "posix file" ? "POSIX file" : std::string{reserved};
    } else if (found) {
        add(TokenKind::term, longest);
        m_tokens.back().term = found;
    } else {
        std::size_t end = m_at;
        while (isWordUnit(at(end)))
            ++end;
        add(TokenKind::identifier, end);
    }
}

void Lexer::scanQuotedIdentifier()
{
    std::size_t end = m_at + 1;
    while (end < m_script.size() && at(end) != u'|' && !isLineEnd(at(end)))
        ++end;
    if (at(end) != u'|' || end == m_at + 1)
        return add(TokenKind::unknown, m_at + 1);
    add(TokenKind::identifier, end + 1);
}

void Lexer::scanNumber()
{
    std::size_t end = m_at;
    const auto skipDigits = [&] {
        while (isDigit(at(end)))
            ++end;
    };
    bool whole = true;
    skipDigits();
    if (at(end) == u'.') {
        whole = false;
        ++end;
        skipDigits();
    }
    if (lowered(at(end)) == u'e') {
        const bool sign = at(end + 1) == u'+' || at(end + 1) == u'-';
        if (isDigit(at(end + (sign ? 2 : 1)))) {
            whole = false;
            end += sign ? 2 : 1;
            skipDigits();
        }
    }

    add(TokenKind::integer, end);
    Token& token = m_tokens.back();
    const char* first = token.text.data();
    const char* last = first + token.text.size();
    if (whole && std::from_chars(first, last, token.integer).ec == std::errc{})
        return;
    token.kind = TokenKind::real;
    if (std::from_chars(first, last, token.real).ec != std::errc{})
        token.real = std::numeric_limits<double>::infinity();
}

void Lexer::scanString()
{
    std::u16string value;
    Token::Defect defect = Token::Defect::unterminated;
    Range defectRange{m_at + 1, m_at + 1};
    std::size_t end = m_at + 1;
    while (end < m_script.size()) {
        const char16_t unit = at(end++);
        if (unit == u'"') {
            defect = Token::Defect::none;
            break;
        }
        if (unit != u'\\' || end == m_script.size()) {
            value.push_back(unit);
            continue;
        }
        static constexpr std::u16string_view escapes = u"\"\\nrt";
        static constexpr std::u16string_view meanings = u"\"\\\n\r\t";
        const std::size_t which = escapes.find(at(end));
        if (which == std::u16string_view::npos) {
            defect = Token::Defect::badEscape;
            defectRange = {end, end + 1};
            break;
        }
        value.push_back(meanings[which]);
        ++end;
    }
    add(TokenKind::string, end);
    m_tokens.back().text = bytes::utf8FromUtf16(value);
    m_tokens.back().defect = defect;
    m_tokens.back().defectRange = defectRange;
}

void Lexer::scanSymbol()
{
    const char16_t unit = at(m_at);
    const bool pair =
        unit >= 0xD800 && unit < 0xDC00 && at(m_at + 1) >= 0xDC00 && at(m_at + 1) < 0xE000;
    const bool known = symbols.find(unit) != std::u16string_view::npos;
    add(known ? TokenKind::symbol : TokenKind::unknown, m_at + (pair ? 2 : 1));
}

} // namespace

std::vector<Token> tokensOf(std::u16string_view script)
{
    return Lexer{script}.run();
}

} // namespace applescript
