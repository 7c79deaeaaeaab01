#include "applescript/Parser.h"

#include "applescript/Lexer.h"

namespace applescript {

Block Parser::parse(std::u16string_view script)
{
    if (script.size() > longest)
        throw ScriptError::limit("the script is longer than 262144 characters");
    return Parser{script}.program();
}

Parser::Parser(std::u16string_view script)
    : m_tokens(tokensOf(script))
    , m_expressions(m_tokens, m_depth)
{ }

Block Parser::program()
{
    Block statements;
    m_tokens.skipLineEnds();
    while (m_tokens.peek().kind != TokenKind::endOfScript) {
        statements.push_back(statement());
        m_tokens.expectEndOfStatement();
        m_tokens.skipLineEnds();
    }
    return statements;
}

Block Parser::block()
{
    Block statements;
    m_tokens.expectEndOfStatement();
    m_tokens.skipLineEnds();
    while (!atEndOfBlock()) {
        if (m_tokens.peek().kind == TokenKind::endOfScript)
            m_tokens.failExpecting("“end”");
        statements.push_back(statement());
        m_tokens.expectEndOfStatement();
        m_tokens.skipLineEnds();
    }
    return statements;
}

bool Parser::atEndOfBlock() const
{
    const Token& next = m_tokens.peek();
    return next.is("end") || next.is("else") || (next.is("on") && m_tokens.peek(1).is("error"));
}

void Parser::expectEnd(std::string_view word, std::string_view otherWord)
{
    m_tokens.expect("end");
    if (m_tokens.peek().endsStatement() || m_tokens.accept(word))
        return;
    if (otherWord.empty() || !m_tokens.accept(otherWord))
        m_tokens.failExpecting("“" + std::string{word} + "”");
}

Statement Parser::statement()
{
    const Nesting nesting{m_depth, m_tokens.peek().range};
    Statement result;
    const Token& next = m_tokens.peek();
    result.range.start = next.range.start;
    if (next.is("tell"))
        result.content = tell();
    else if (next.is("set"))
        result.content = set();
    else if (next.is("repeat"))
        result.content = repeat();
    else if (next.is("exit"))
        result.content = exitRepeat();
    else if (next.is("if"))
        result.content = conditional();
    else if (next.is("try"))
        result.content = tryBlock();
    else if (next.is("error"))
        result.content = raise();
    else if (next.has(Term::isCommand) && !next.is(TermID::exists))
        result.content = command();
    else
        result.content = evaluation();
    result.range.end = m_tokens.end();
    return result;
}

// The one statement of `tell x to ...` and `if x then ...`.
Block Parser::singleStatement()
{
    Block body;
    body.push_back(statement());
    return body;
}

node::Tell Parser::tell()
{
    m_tokens.expect("tell");
    node::Tell content{m_expressions.expression(), {}};
    if (m_tokens.accept("to")) {
        content.body = singleStatement();
        return content;
    }
    content.body = block();
    expectEnd("tell");
    return content;
}

node::Set Parser::set()
{
    m_tokens.expect("set");
    ExpressionPointer target = m_expressions.reference();
    if (!std::holds_alternative<node::Variable>(target->content)
        && !std::holds_alternative<node::Property>(target->content)
        && !std::holds_alternative<node::Element>(target->content))
        throw ScriptError::syntax(
            "Expected variable name or property but found expression.", target->range);
    m_tokens.expect("to");
    return {std::move(target), m_expressions.expression()};
}

node::Repeat Parser::repeat()
{
    m_tokens.expect("repeat");
    node::Repeat content;
    if (m_tokens.accept("with")) {
        node::Repeat::Counter counter;
        counter.variable = m_expressions.variableName();
        m_tokens.expect("from");
        counter.from = m_expressions.expression();
        m_tokens.expect("to");
        counter.to = m_expressions.expression();
        if (m_tokens.accept("by"))
            counter.by = m_expressions.expression();
        content.counter = std::move(counter);
    } else if (!m_tokens.peek().endsStatement()) {
        content.count = m_expressions.expression();
        m_tokens.accept("times");
    }
    ++m_loops;
    content.body = block();
    --m_loops;
    expectEnd("repeat");
    return content;
}

node::Exit Parser::exitRepeat()
{
    if (m_loops == 0)
        m_tokens.failExpecting("expression");
    m_tokens.expect("exit");
    m_tokens.accept("repeat");
    return {};
}

node::If Parser::conditional()
{
    m_tokens.expect("if");
    node::If content;
    content.branches.push_back({m_expressions.expression(), {}});
    if (m_tokens.accept("then") && !m_tokens.peek().endsStatement()) {
        content.branches.back().body = singleStatement();
        return content;
    }
    content.branches.back().body = block();
    while (m_tokens.accept("else")) {
        if (!m_tokens.accept("if")) {
            content.otherwise = block();
            break;
        }
        content.branches.push_back({m_expressions.expression(), {}});
        m_tokens.accept("then");
        content.branches.back().body = block();
    }
    expectEnd("if");
    return content;
}

node::Try Parser::tryBlock()
{
    m_tokens.expect("try");
    node::Try content;
    content.body = block();
    if (m_tokens.accept("on"))
        errorHandler(content);
    expectEnd("try", "error");
    return content;
}

void Parser::errorHandler(node::Try& content)
{
    m_tokens.expect("error");
    content.hasHandler = true;
    if (m_tokens.peek().kind == TokenKind::identifier)
        content.messageVariable = m_expressions.variableName();
    if (m_tokens.peek().is(TermID::number)) {
        m_tokens.take();
        content.numberVariable = m_expressions.variableName();
    }
    content.handler = block();
}

node::Raise Parser::raise()
{
    m_tokens.expect("error");
    node::Raise content;
    if (!m_tokens.peek().endsStatement() && !m_tokens.peek().is(TermID::number))
        content.message = m_expressions.expression();
    if (m_tokens.peek().is(TermID::number)) {
        m_tokens.take();
        content.number = m_expressions.expression();
    }
    return content;
}

node::Command Parser::command()
{
    const Token& verb = m_tokens.take();
    node::Command content{verb.term, verb.range, nullptr, {}};
    if (m_expressions.startsExpression())
        content.object = m_expressions.expression();
    while (m_tokens.peek().is("with") || m_tokens.peek().is("without")) {
        const bool given = m_tokens.take().is("with");
        do {
            if (!m_tokens.peek().has(Term::isParameter))
                m_tokens.failExpecting("parameter name");
            content.parameters.emplace_back(m_tokens.take().term, given);
        } while (m_tokens.accept("and") || m_tokens.accept(","));
    }
    return content;
}

// Two words in a row that mean nothing could be a command of another dictionary; that is worded
// apart from a word too many behind an expression.
node::Evaluate Parser::evaluation()
{
    const Token& first = m_tokens.peek();
    const Token& second = m_tokens.peek(1);
    const bool follows = second.kind == TokenKind::identifier || second.kind == TokenKind::integer
        || second.kind == TokenKind::real || second.kind == TokenKind::string
        || second.has(Term::isClass);
    if (first.kind == TokenKind::identifier && follows) {
        throw ScriptError::syntax(
            "A " + nameForMessage(second) + " can’t go after this " + nameForMessage(first) + '.',
            {first.range.start, rangeForMessage(second).end}, -2740);
    }
    m_tokens.accept("get");
    return {m_expressions.expression()};
}

} // namespace applescript
