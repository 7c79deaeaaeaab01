#include "applescript/Evaluator.h"

#include "applescript/Coercion.h"
#include "applescript/ScriptError.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace applescript {

namespace {

bool isFinder(const std::string& name, const Application& application)
{
    return isEqual(name, application.name());
}

} // namespace

Evaluator::Evaluator(Application& application, Clock& clock)
    : m_application(application)
    , m_clock(clock)
{ }

Value Evaluator::run(const Block& program)
{
    m_result = {};
    runBlock(program);
    return m_result;
}

Evaluator::Flow Evaluator::runBlock(const Block& block)
{
    for (const Statement& statement : block) {
        if (runStatement(statement) == Flow::exitRepeat)
            return Flow::exitRepeat;
    }
    return Flow::next;
}

Evaluator::Flow Evaluator::runStatement(const Statement& statement)
{
    try {
        count(1);
        return std::visit([this](const auto& content) { return run(content); }, statement.content);
    } catch (ScriptError& error) {
        if (!error.range())
            error.setRange(statement.range);
        throw;
    }
}

Evaluator::Flow Evaluator::run(const node::Tell& tell)
{
    const Value target = evaluate(*tell.target);
    if (const auto* application = target.as<ApplicationName>();
        application && !isFinder(application->name, m_application)) {
        ScriptError error = ScriptError::execution(-1728, "Can’t get " + sourceForm(target) + '.');
        error.setRange(tell.target->range);
        throw error;
    }

    struct Restore {
        const Value*& target;
        const Value* outer;
        ~Restore() { target = outer; }
    };
    const Restore restore{m_target, std::exchange(m_target, &target)};
    return runBlock(tell.body);
}

Evaluator::Flow Evaluator::run(const node::Set& set)
{
    Value value = resolve(*set.value);
    m_result = value;
    if (const auto* variable = std::get_if<node::Variable>(&set.target->content)) {
        m_variables.insert_or_assign(variable->name, std::move(value));
        return Flow::next;
    }
    const auto* property = std::get_if<node::Property>(&set.target->content);
    const auto* element = std::get_if<node::Element>(&set.target->content);
    const Reference reference = property
        ? referTo(*property->term, nullptr, property->container)
        : referTo(*element->type, element->key, element->container);
    if (!belongsToApplication(reference))
        throw ScriptError::execution(
            -10006, "Can’t set " + sourceForm(reference) + " to " + sourceForm(value) + '.');
    count(stepsOfMessage);
    m_application.set(reference, value);
    return Flow::next;
}

Evaluator::Flow Evaluator::run(const node::Repeat& repeat)
{
    if (repeat.counter)
        return runCounting(repeat);
    int64_t rounds = std::numeric_limits<int64_t>::max();
    if (repeat.count) {
        const Value count = resolve(*repeat.count);
        const auto whole = wholeNumber(count);
        if (!whole)
            failCoercion(count, "integer");
        rounds = *whole;
    }
    for (int64_t i = 0; i < rounds; ++i) {
        count(1);
        if (runBlock(repeat.body) == Flow::exitRepeat)
            break;
    }
    return Flow::next;
}

// The bounds are taken once; the variable can be changed inside without moving the loop.
Evaluator::Flow Evaluator::runCounting(const node::Repeat& repeat)
{
    const node::Repeat::Counter& counter = *repeat.counter;
    const auto bound = [this](const ExpressionPointer& expression, int64_t fallback) {
        if (!expression)
            return fallback;
        const Value value = resolve(*expression);
        const auto whole = wholeNumber(value);
        if (!whole)
            failCoercion(value, "integer");
        return *whole;
    };
    const int64_t from = bound(counter.from, 0);
    const int64_t to = bound(counter.to, 0);
    const int64_t by = bound(counter.by, 1);
    if (by == 0)
        throw ScriptError::execution(-2700, "Can’t repeat by 0.");

    int64_t value = from;
    while (by > 0 ? value <= to : value >= to) {
        count(1);
        m_variables.insert_or_assign(counter.variable, Value{value});
        if (runBlock(repeat.body) == Flow::exitRepeat)
            break;
        if (__builtin_add_overflow(value, by, &value))
            break;
    }
    return Flow::next;
}

Evaluator::Flow Evaluator::run(const node::Exit&)
{
    return Flow::exitRepeat;
}

Evaluator::Flow Evaluator::run(const node::If& conditional)
{
    for (const node::If::Branch& branch : conditional.branches) {
        if (truth(*branch.condition))
            return runBlock(branch.body);
    }
    return runBlock(conditional.otherwise);
}

Evaluator::Flow Evaluator::run(const node::Try& tryBlock)
{
    try {
        return runBlock(tryBlock.body);
    } catch (const ScriptError& error) {
        if (error.kind() == ScriptError::Kind::limit)
            throw;
        if (tryBlock.messageVariable)
            m_variables.insert_or_assign(*tryBlock.messageVariable, Value{error.message()});
        if (tryBlock.numberVariable)
            m_variables.insert_or_assign(*tryBlock.numberVariable, Value{error.number()});
    }
    return runBlock(tryBlock.handler);
}

Evaluator::Flow Evaluator::run(const node::Raise& raise)
{
    std::string message = "An error has occurred.";
    int64_t number = -2700;
    if (raise.message) {
        const Value text = coerced(resolve(*raise.message), term(TermID::text), m_application);
        message = *text.as<std::string>();
    }
    if (raise.number) {
        const Value value = resolve(*raise.number);
        number = wholeNumber(value).value_or(-2700);
    }
    throw ScriptError::execution(
        static_cast<int>(std::clamp<int64_t>(number, INT32_MIN, INT32_MAX)), message);
}

Evaluator::Flow Evaluator::run(const node::Command& command)
{
    Value object = command.object ? evaluate(*command.object) : Value{};
    m_result = {};
    if (command.verb->id == TermID::delay) {
        if (object.is<Reference>())
            object = ask(*object.as<Reference>());
        const Value seconds =
            command.object ? coerced(object, term(TermID::number), m_application) : Value{0};
        m_clock.wait(Clock::Duration{std::max(0.0, *realNumber(seconds))});
        return Flow::next;
    }
    if (!m_target)
        throw ScriptError::execution(-1708,
            "«script» doesn’t understand the “" + std::string{command.verb->words} + "” message.");
    count(stepsOfMessage);
    try {
        m_result = m_application.perform(*command.verb, object, command.parameters);
    } catch (ScriptError& error) {
        // An object that isn't there is reported at the verb, everything else at the whole.
        if (error.number() == -1728 && !error.range())
            error.setRange(command.verbRange);
        throw;
    }
    return Flow::next;
}

Evaluator::Flow Evaluator::run(const node::Evaluate& statement)
{
    m_result = resolve(*statement.expression);
    return Flow::next;
}

void Evaluator::count(std::size_t steps)
{
    m_steps += static_cast<long>(steps);
    if (m_steps > mostSteps)
        throw ScriptError::limit(
            "the script takes more than " + std::to_string(mostSteps) + " steps");
}

} // namespace applescript
