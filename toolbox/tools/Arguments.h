#pragma once

#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tools {

/// An option as the tools of a Mac write it: a single dash and a word.
struct Option {
    std::string_view name; // with the dash
    bool takesValue = false;
};

/// The user called a tool in a way that it doesn't know.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A command line taken apart. Options may stand anywhere; of one given twice the last counts.
class Arguments {
public:
    /// Throws UsageError for an option that is not in `known` and for a missing value.
    Arguments(std::span<const std::string> words, std::span<const Option> known);

    bool has(std::string_view option) const { return value(option).has_value(); }
    /// The option's value, "" for one that takes none.
    std::optional<std::string> value(std::string_view option) const;
    /// The same, throws UsageError when it is missing.
    std::string required(std::string_view option) const;

    const std::vector<std::string>& operands() const { return m_operands; }
    /// The only operand; throws UsageError when there are none or several.
    const std::string& onlyOperand() const;

private:
    struct Given {
        std::string_view name;
        std::string value;
    };

    std::vector<Given> m_given;
    std::vector<std::string> m_operands;
};

} // namespace tools
