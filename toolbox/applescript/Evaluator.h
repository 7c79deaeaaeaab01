#pragma once

#include "applescript/Application.h"
#include "applescript/Clock.h"
#include "applescript/SyntaxTree.h"

#include <map>
#include <string>

namespace applescript {

/// Runs a syntax tree. One global scope of variables; properties and elements without an owner
/// belong to what the innermost `tell` names. Bounded in steps, text, list depth, whatever the
/// script says (ScriptError::limit, which no `try` catches).
class Evaluator {
public:
    /// Both are borrowed for the evaluator's life.
    Evaluator(Application& application, Clock& clock);

    /// The value of the last statement that had one, or Nothing. Throws ScriptError.
    Value run(const Block& program);

    static constexpr long mostSteps = 1'000'000;
    /// What a message to the application counts: it may search folders and write files.
    static constexpr std::size_t stepsOfMessage = 500;
    /// Bytes of a text, and of a list when it is written out.
    static constexpr std::size_t longestText = 1'048'576;
    static constexpr std::size_t deepestList = 64;

private:
    enum class Flow { next, exitRepeat };

    Flow runBlock(const Block& block);
    Flow runStatement(const Statement& statement);
    Flow run(const node::Tell& tell);
    Flow run(const node::Set& set);
    Flow run(const node::Repeat& repeat);
    Flow run(const node::Exit& exit);
    Flow run(const node::If& conditional);
    Flow run(const node::Try& tryBlock);
    Flow run(const node::Raise& raise);
    Flow run(const node::Command& command);
    Flow run(const node::Evaluate& evaluate);
    Flow runCounting(const node::Repeat& repeat);

    /// What the expression names, not looked up; errors get the expression's range.
    Value evaluate(const Expression& expression);
    /// The same, and an object of the application is asked for its value.
    Value resolve(const Expression& expression);
    Value evaluate(const node::Constant& constant);
    Value evaluate(const node::Variable& variable);
    Value evaluate(const node::ListOf& list);
    Value evaluate(const node::PosixFileOf& file);
    Value evaluate(const node::Element& element);
    Value evaluate(const node::Property& property);
    Value evaluate(const node::Negation& negation);
    Value evaluate(const node::Exists& exists);
    Value evaluate(const node::Cast& cast);
    Value evaluate(const node::Concatenation& concatenation);
    Value joinedText(const Value& first, const node::Concatenation& concatenation);
    Value evaluate(const node::Comparison& comparison);
    Reference referTo(
        const Term& term, const ExpressionPointer& key, const ExpressionPointer& container);
    Value ask(const Reference& reference);
    bool belongsToApplication(const Reference& reference) const;
    bool truth(const Expression& expression);
    Value limited(Value value);
    void count(std::size_t steps);

    Application& m_application;
    Clock& m_clock;
    std::map<std::string, Value> m_variables;
    const Value* m_target = nullptr; // of the innermost tell
    Value m_result;
    long m_steps = 0;
};

} // namespace applescript
