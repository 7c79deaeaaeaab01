#pragma once

#include "applescript/ScriptError.h"
#include "applescript/Value.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace applescript {

struct Expression;
struct Statement;
using ExpressionPointer = std::unique_ptr<Expression>;
using Block = std::vector<Statement>;

/// Expressions. Operators of one level lie side by side, so that the height of a tree is bounded by
/// the nesting that the parser allows, not by the length of a line.
namespace node {
struct Constant {
    Value value;
};
struct Variable {
    std::string name; // lower case: names don't heed case
    std::string spelled;
};
struct ListOf {
    std::vector<ExpressionPointer> items;
};
struct PosixFileOf {
    ExpressionPointer path;
};
/// `class key of container`; without a container it belongs to what the innermost `tell` names.
struct Element {
    const Term* type;
    ExpressionPointer key, container;
};
struct Property {
    const Term* term;
    ExpressionPointer container;
};
struct Negation {
    ExpressionPointer operand;
};
struct Exists {
    ExpressionPointer object;
};
struct Cast {
    ExpressionPointer operand;
    const Term* type;
};
struct Concatenation {
    std::vector<ExpressionPointer> operands;
};
/// `a = b = c` compares the first result with c.
struct Comparison {
    ExpressionPointer first;
    std::vector<std::pair<bool, ExpressionPointer>> others; // true: must be equal
};
} // namespace node

struct Expression {
    Range range;
    std::variant<node::Constant, node::Variable, node::ListOf, node::PosixFileOf, node::Element,
        node::Property, node::Negation, node::Exists, node::Cast, node::Concatenation,
        node::Comparison>
        content;
};

namespace node {
struct Tell {
    ExpressionPointer target;
    Block body;
};
struct Set {
    ExpressionPointer target, value;
};
/// With `count`: that many times. Without either: until something leaves it.
struct Repeat {
    struct Counter {
        std::string variable;
        ExpressionPointer from, to, by; // `by` may be null: 1
    };
    std::optional<Counter> counter;
    ExpressionPointer count;
    Block body;
};
struct Exit { };
struct If {
    struct Branch {
        ExpressionPointer condition;
        Block body;
    };
    std::vector<Branch> branches;
    Block otherwise;
};
struct Try {
    Block body;
    bool hasHandler = false;
    std::optional<std::string> messageVariable, numberVariable;
    Block handler;
};
struct Raise {
    ExpressionPointer message, number; // either may be null
};
struct Command {
    const Term* verb;
    Range verbRange;
    ExpressionPointer object; // may be null
    std::vector<std::pair<const Term*, bool>> parameters; // `with` true, `without` false
};
struct Evaluate {
    ExpressionPointer expression;
};
} // namespace node

struct Statement {
    Range range;
    std::variant<node::Tell, node::Set, node::Repeat, node::Exit, node::If, node::Try, node::Raise,
        node::Command, node::Evaluate>
        content;
};

} // namespace applescript
