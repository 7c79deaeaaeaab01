#include "applescript/Coercion.h"
#include "applescript/Evaluator.h"
#include "applescript/ScriptError.h"

#include <utility>

namespace applescript {

namespace {

constexpr std::size_t bytesPerStep = 32;

void checkSize(std::size_t bytes)
{
    if (bytes > Evaluator::longestText)
        throw ScriptError::limit("a value is longer than 1048576 bytes");
}

// The items of a list, or the value as an item.
void append(std::vector<Value>& items, const Value& value)
{
    if (const auto* list = value.as<List>())
        items.insert(items.end(), list->items().begin(), list->items().end());
    else
        items.push_back(value);
    checkSize(items.size() * sizeof(Value));
}

} // namespace

Value Evaluator::evaluate(const Expression& expression)
{
    try {
        count(1);
        return std::visit(
            [this](const auto& content) { return evaluate(content); }, expression.content);
    } catch (ScriptError& error) {
        if (!error.range())
            error.setRange(expression.range);
        throw;
    }
}

Value Evaluator::resolve(const Expression& expression)
{
    Value value = evaluate(expression);
    const auto* reference = value.as<Reference>();
    if (!reference)
        return value;
    try {
        return ask(*reference);
    } catch (ScriptError& error) {
        if (!error.range())
            error.setRange(expression.range);
        throw;
    }
}

Value Evaluator::ask(const Reference& reference)
{
    if (!belongsToApplication(reference))
        throw ScriptError::execution(-1728, "Can’t get " + sourceForm(reference) + '.');
    count(stepsOfMessage);
    return limited(m_application.get(reference));
}

// The application looks after its own objects and after files; of other values, and outside of any
// `tell`, nothing can be asked.
bool Evaluator::belongsToApplication(const Reference& reference) const
{
    const Value* owner = reference.of.get();
    while (owner && owner->is<Reference>())
        owner = owner->as<Reference>()->of.get();
    return owner ? owner->is<Alias>() || owner->is<PosixFile>() : m_target != nullptr;
}

Value Evaluator::evaluate(const node::Constant& constant)
{
    return constant.value;
}

Value Evaluator::evaluate(const node::Variable& variable)
{
    const auto found = m_variables.find(variable.name);
    if (found == m_variables.end())
        throw ScriptError::execution(
            -2753, "The variable " + variable.spelled + " is not defined.");
    return found->second;
}

Value Evaluator::evaluate(const node::ListOf& list)
{
    std::vector<Value> items;
    items.reserve(list.items.size());
    for (const ExpressionPointer& item : list.items)
        items.push_back(resolve(*item));
    return limited(List{std::move(items)});
}

Value Evaluator::evaluate(const node::PosixFileOf& file)
{
    const Value path = coerced(resolve(*file.path), term(TermID::text), m_application);
    return PosixFile{*path.as<std::string>()};
}

Value Evaluator::evaluate(const node::Element& element)
{
    return referTo(*element.type, element.key, element.container);
}

Value Evaluator::evaluate(const node::Property& property)
{
    return referTo(*property.term, nullptr, property.container);
}

Reference Evaluator::referTo(
    const Term& named, const ExpressionPointer& key, const ExpressionPointer& container)
{
    Reference reference{&named, nullptr, nullptr};
    if (key)
        reference.key = std::make_shared<const Value>(resolve(*key));
    Value owner;
    if (container)
        owner = evaluate(*container);
    else if (m_target)
        owner = *m_target;
    const auto* application = owner.as<ApplicationName>();
    const bool own = application && isEqual(application->name, m_application.name());
    if (!own && !owner.is<Nothing>())
        reference.of = std::make_shared<const Value>(std::move(owner));
    return reference;
}

Value Evaluator::evaluate(const node::Negation& negation)
{
    const Value operand = coerced(resolve(*negation.operand), term(TermID::number), m_application);
    if (const auto* whole = operand.as<int64_t>(); whole && *whole != INT64_MIN)
        return -*whole;
    return -*realNumber(operand);
}

Value Evaluator::evaluate(const node::Exists& exists)
{
    const Value object = evaluate(*exists.object);
    count(stepsOfMessage);
    if (const auto* reference = object.as<Reference>())
        return belongsToApplication(*reference) && m_application.exists(*reference);
    if (const auto* alias = object.as<Alias>())
        return m_application.fileExists(alias->path);
    if (const auto* file = object.as<PosixFile>())
        return m_application.fileExists(file->path);
    return !object.is<MissingValue>();
}

// An alias is made of the object itself; other types of its value.
Value Evaluator::evaluate(const node::Cast& cast)
{
    Value operand = evaluate(*cast.operand);
    if (cast.type->id == TermID::alias)
        count(stepsOfMessage);
    if (const auto* reference = operand.as<Reference>();
        reference && cast.type->id != TermID::alias)
        operand = ask(*reference);
    else if (reference && !belongsToApplication(*reference))
        throw ScriptError::execution(-1728, "Can’t get " + sourceForm(operand) + '.');
    return limited(coerced(operand, *cast.type, m_application));
}

// A text on the left makes a text, and so does a path; anything else makes a list.
Value Evaluator::evaluate(const node::Concatenation& concatenation)
{
    const Value first = resolve(*concatenation.operands.front());
    if (first.is<std::string>() || first.is<PosixFile>() || first.is<Alias>())
        return joinedText(first, concatenation);
    std::vector<Value> items;
    append(items, first);
    for (std::size_t i = 1; i < concatenation.operands.size(); ++i)
        append(items, resolve(*concatenation.operands[i]));
    return limited(List{std::move(items)});
}

Value Evaluator::joinedText(const Value& first, const node::Concatenation& concatenation)
{
    const Term& type = term(TermID::text);
    std::string text = *coerced(first, type, m_application).as<std::string>();
    for (std::size_t i = 1; i < concatenation.operands.size(); ++i) {
        const Value right = coerced(resolve(*concatenation.operands[i]), type, m_application);
        text += *right.as<std::string>();
        checkSize(text.size());
    }
    return limited(std::move(text));
}

Value Evaluator::evaluate(const node::Comparison& comparison)
{
    Value left = resolve(*comparison.first);
    for (const auto& [equal, operand] : comparison.others)
        left = isEqual(left, resolve(*operand)) == equal;
    return left;
}

bool Evaluator::truth(const Expression& expression)
{
    const Value value = coerced(resolve(expression), term(TermID::boolean), m_application);
    return *value.as<bool>();
}

// Steps are charged by size as well, so that they bound the memory of all values together.
Value Evaluator::limited(Value value)
{
    std::size_t weight = 0;
    if (const auto* text = value.as<std::string>()) {
        weight = text->size();
    } else if (const auto* list = value.as<List>()) {
        weight = list->weight();
        if (list->depth() > deepestList)
            throw ScriptError::limit("lists are nested too deeply");
    }
    checkSize(weight);
    count(weight / bytesPerStep);
    return value;
}

} // namespace applescript
