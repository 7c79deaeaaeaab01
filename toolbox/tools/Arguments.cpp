#include "tools/Arguments.h"

#include <algorithm>

namespace tools {

Arguments::Arguments(std::span<const std::string> words, std::span<const Option> known)
{
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word.size() < 2 || word[0] != '-') {
            m_operands.push_back(word);
            continue;
        }
        const auto option = std::ranges::find(known, word, &Option::name);
        if (option == known.end())
            throw UsageError(word + ": unknown option");
        if (option->takesValue && i + 1 == words.size())
            throw UsageError(word + ": a value is missing");
        m_given.push_back({option->name, option->takesValue ? words[++i] : std::string()});
    }
}

std::optional<std::string> Arguments::value(std::string_view option) const
{
    const auto last = std::find_if(
        m_given.rbegin(), m_given.rend(), [&](const Given& given) { return given.name == option; });
    return last == m_given.rend() ? std::nullopt : std::optional(last->value);
}

std::string Arguments::required(std::string_view option) const
{
    if (auto given = value(option))
        return *std::move(given);
    throw UsageError(std::string(option) + " is missing");
}

const std::string& Arguments::onlyOperand() const
{
    if (m_operands.size() != 1)
        throw UsageError(m_operands.empty() ? "a path is missing" : "too many paths");
    return m_operands.front();
}

} // namespace tools
