#include "applescript/ExpressionParser.h"

#include <algorithm>
#include <optional>

namespace applescript {

namespace {

std::string foldedName(const Token& token)
{
    std::string name = token.text;
    if (name.front() == '|')
        return name.substr(1, name.size() - 2);
    std::transform(name.begin(), name.end(), name.begin(),
        [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return name;
}

// Whether the operator asks for equality; none when the token is no comparison.
std::optional<bool> comparisonIn(const Token& token)
{
    for (const std::string_view equal : {"=", "is", "is equal to", "equals"}) {
        if (token.is(equal))
            return true;
    }
    for (const std::string_view unequal : {"≠", "is not", "is not equal to"}) {
        if (token.is(unequal))
            return false;
    }
    return std::nullopt;
}

} // namespace

Nesting::Nesting(int& depth, Range where)
    : m_depth(depth)
{
    if (m_depth >= deepest) {
        ScriptError error = ScriptError::limit("the script is nested too deeply");
        error.setRange(where);
        throw error;
    }
    ++m_depth;
}

template <typename Content>
ExpressionPointer ExpressionParser::make(std::size_t start, Content content) const
{
    return std::make_unique<Expression>(Expression{{start, m_tokens.end()}, std::move(content)});
}

ExpressionPointer ExpressionParser::expression()
{
    const Nesting nesting{m_depth, m_tokens.peek().range};
    return comparison();
}

ExpressionPointer ExpressionParser::comparison()
{
    const std::size_t start = m_tokens.peek().range.start;
    ExpressionPointer first = concatenation();
    if (!comparisonIn(m_tokens.peek()))
        return first;
    node::Comparison content{std::move(first), {}};
    while (const auto equal = comparisonIn(m_tokens.peek())) {
        m_tokens.take();
        content.others.emplace_back(*equal, concatenation());
    }
    return make(start, std::move(content));
}

ExpressionPointer ExpressionParser::concatenation()
{
    const std::size_t start = m_tokens.peek().range.start;
    ExpressionPointer first = cast();
    if (!m_tokens.peek().is("&"))
        return first;
    node::Concatenation content;
    content.operands.push_back(std::move(first));
    while (m_tokens.accept("&"))
        content.operands.push_back(cast());
    return make(start, std::move(content));
}

ExpressionPointer ExpressionParser::cast()
{
    const std::size_t start = m_tokens.peek().range.start;
    ExpressionPointer operand = reference();
    if (!m_tokens.accept("as"))
        return operand;
    if (!m_tokens.peek().has(Term::isClass))
        m_tokens.failExpecting("class name");
    const Term* type = m_tokens.take().term;
    return make(start, node::Cast{std::move(operand), type});
}

ExpressionPointer ExpressionParser::reference()
{
    const Nesting nesting{m_depth, m_tokens.peek().range};
    const std::size_t start = m_tokens.peek().range.start;
    ExpressionPointer object = primary();
    ExpressionPointer* container = nullptr;
    if (auto* element = std::get_if<node::Element>(&object->content))
        container = &element->container;
    else if (auto* property = std::get_if<node::Property>(&object->content))
        container = &property->container;
    if (!container || *container || !m_tokens.accept("of"))
        return object;
    *container = reference();
    object->range = {start, m_tokens.end()};
    return object;
}

bool ExpressionParser::startsExpression() const
{
    const Token& next = m_tokens.peek();
    switch (next.kind) {
    case TokenKind::identifier:
    case TokenKind::integer:
    case TokenKind::real:
    case TokenKind::string:
        return true;
    case TokenKind::keyword:
        return next.is("true") || next.is("false") || next.is("missing value")
            || next.is("POSIX file") || next.is("the");
    case TokenKind::symbol:
        return next.is("(") || next.is("{") || next.is("-");
    case TokenKind::term:
        return next.has(Term::isClass) || next.has(Term::isProperty) || next.has(Term::isEnumerator)
            || next.is(TermID::exists);
    default:
        return false;
    }
}

ExpressionPointer ExpressionParser::primary()
{
    const Nesting nesting{m_depth, m_tokens.peek().range};
    while (m_tokens.accept("the")) { }
    const Token& next = m_tokens.peek();
    const std::size_t start = next.range.start;
    if (!startsExpression())
        m_tokens.failExpecting("expression");

    if (next.kind == TokenKind::term)
        return termExpression();
    if (next.kind == TokenKind::string) {
        std::string text = m_tokens.takeString().text;
        return make(start, node::Constant{std::move(text)});
    }
    if (next.is("POSIX file"))
        return posixFile();
    if (next.is("{"))
        return list();
    m_tokens.take();
    if (next.kind == TokenKind::identifier)
        return make(start, node::Variable{foldedName(next), next.text});
    if (next.kind == TokenKind::integer)
        return make(start, node::Constant{next.integer});
    if (next.kind == TokenKind::real)
        return make(start, node::Constant{next.real});
    if (next.is("-"))
        return make(start, node::Negation{primary()});
    if (next.is("missing value"))
        return make(start, node::Constant{MissingValue{}});
    if (!next.is("("))
        return make(start, node::Constant{next.is("true")});
    ExpressionPointer inner = expression();
    m_tokens.expect(")");
    return inner;
}

ExpressionPointer ExpressionParser::termExpression()
{
    const Token& next = m_tokens.peek();
    const std::size_t start = next.range.start;
    if (next.has(Term::isClass) || next.has(Term::isProperty))
        return elementOrProperty();
    m_tokens.take();
    if (next.is(TermID::exists))
        return make(start, node::Exists{reference()});
    return make(start, node::Constant{Enumerator{next.term->id}});
}

// A word that is class and property names an element when a key follows.
ExpressionPointer ExpressionParser::elementOrProperty()
{
    const Token& word = m_tokens.take();
    if (word.has(Term::isClass) && startsKey(m_tokens.peek())) {
        ExpressionPointer keyOfElement = primary();
        if (word.is(TermID::application)) {
            const auto* constant = std::get_if<node::Constant>(&keyOfElement->content);
            if (constant && constant->value.is<std::string>()) {
                ApplicationName name{*constant->value.as<std::string>()};
                return make(word.range.start, node::Constant{std::move(name)});
            }
        }
        return make(word.range.start, node::Element{word.term, std::move(keyOfElement), nullptr});
    }
    if (!word.has(Term::isProperty))
        m_tokens.failExpecting("expression, property or key form, etc.");
    if (word.is(TermID::application) && !m_tokens.peek().is("of"))
        m_tokens.failExpecting("expression, property or key form, etc.");
    return make(word.range.start, node::Property{word.term, nullptr});
}

bool ExpressionParser::startsKey(const Token& token) const
{
    return token.kind == TokenKind::string || token.kind == TokenKind::integer
        || token.kind == TokenKind::identifier || token.is("(");
}

ExpressionPointer ExpressionParser::posixFile()
{
    const std::size_t start = m_tokens.take().range.start;
    ExpressionPointer path = primary();
    return make(start, node::PosixFileOf{std::move(path)});
}

ExpressionPointer ExpressionParser::list()
{
    const std::size_t start = m_tokens.take().range.start;
    node::ListOf content;
    if (!m_tokens.accept("}")) {
        do
            content.items.push_back(expression());
        while (m_tokens.accept(","));
        m_tokens.expect("}");
    }
    return make(start, std::move(content));
}

std::string ExpressionParser::variableName()
{
    if (m_tokens.peek().kind != TokenKind::identifier)
        m_tokens.failExpecting("identifier");
    return foldedName(m_tokens.take());
}

} // namespace applescript
