#pragma once

#include "applescript/ScriptError.h"
#include "applescript/Term.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace applescript {

enum class TokenKind : uint8_t {
    endOfLine,
    endOfScript,
    identifier,
    integer,
    real,
    string,
    keyword, // a reserved word; several words where they belong together ("is not equal to")
    symbol,
    term, // of the dictionary
    unknown, // a character with no meaning
    unclosedComment,
};

struct Token {
    /// What is wrong inside a string. It is reported only when the parser takes the string: where
    /// no string may stand, its opening quote is the earlier fault.
    enum class Defect : uint8_t { none, badEscape, unterminated };

    TokenKind kind = TokenKind::endOfScript;
    Range range;
    std::string text; // string: its value; keyword: lower case; else as written (UTF-8)
    const Term* term = nullptr;
    int64_t integer = 0;
    double real = 0;
    Defect defect = Defect::none;
    Range defectRange;

    /// True for a keyword or symbol spelled so.
    bool is(std::string_view spelled) const
    {
        return (kind == TokenKind::keyword || kind == TokenKind::symbol) && text == spelled;
    }
    bool is(TermID id) const { return kind == TokenKind::term && term->id == id; }
    bool has(Term::Role role) const { return kind == TokenKind::term && term->has(role); }
    bool endsStatement() const
    {
        return kind == TokenKind::endOfLine || kind == TokenKind::endOfScript;
    }
};

/// How a compile error names the token: "identifier", "end of line", "“)”".
std::string nameForMessage(const Token& token);
/// The part of the token that such an error points at; of a string only the opening quote.
Range rangeForMessage(const Token& token);

} // namespace applescript
