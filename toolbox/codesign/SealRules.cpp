#include "codesign/SealRules.h"

#include "bytes/FormatError.h"

#include <algorithm>

namespace codesign {

using bytes::FormatError;

namespace {

constexpr std::size_t mostRules = 1024;
constexpr std::size_t longestPattern = 4096;
constexpr int mostRepeatedParts = 4;

/// The host's matcher writes out what is repeated: a count, or pluses inside each other, would take
/// all memory, and back-references all time. No signer writes such patterns.
bool isCheap(std::string_view pattern)
{
    int repeatedParts = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char next = i + 1 < pattern.size() ? pattern[i + 1] : '\0';
        if (pattern[i] == '\\') {
            if (next >= '1' && next <= '9')
                return false;
            ++i;
        } else if (pattern[i] == '{') {
            return false;
        } else if (next == '+'
            && std::string_view(")*+?").find(pattern[i]) != std::string_view::npos) {
            ++repeatedParts;
        }
    }
    return repeatedParts <= mostRepeatedParts;
}

bool flag(const plist::Value& value, const char* key)
{
    const auto* boolean = value.find<bool>(key);
    return boolean != nullptr && *boolean;
}

double weightOf(const plist::Value& value)
{
    if (const auto* real = value.find<double>("weight"))
        return *real;
    if (const auto* integer = value.find<int64_t>("weight"))
        return static_cast<double>(*integer);
    return 1;
}

} // namespace

void SealRules::FreePattern::operator()(regex_t* pattern) const
{
    ::regfree(pattern);
    delete pattern;
}

void SealRules::add(SealRule rule)
{
    auto compiled = std::make_unique<regex_t>();
    if (rule.pattern.size() > longestPattern || !isCheap(rule.pattern)
        || ::regcomp(compiled.get(), rule.pattern.c_str(), REG_EXTENDED | REG_NOSUB) != 0)
        throw FormatError("a rule of the resource seal is no pattern: " + rule.pattern);
    m_rules.push_back({std::move(rule), {compiled.release(), {}}});
}

SealRules SealRules::oldDefaults(const std::string& resources)
{
    SealRules rules;
    rules.add({.pattern = resources.empty() ? "^.*" : "^" + resources});
    rules.add({.pattern = "^" + resources + ".*\\.lproj/", .optional = true, .weight = 1000});
    rules.add({.pattern = "^" + resources + ".*\\.lproj/locversion.plist$",
        .omit = true,
        .weight = 1100});
    rules.add({.pattern = "^" + resources + "Base\\.lproj/", .weight = 1010});
    rules.add({.pattern = "^version.plist$"});
    return rules;
}

SealRules SealRules::defaults(const std::string& resources)
{
    SealRules rules;
    rules.add({.pattern = ".*\\.dSYM($|/)", .weight = 11});
    rules.add({.pattern = "^(.*/)?\\.DS_Store$", .omit = true, .weight = 2000});
    if (!resources.empty())
        rules.add({.pattern = "^(Frameworks|SharedFrameworks|PlugIns|Plug-ins|XPCServices|Helpers|"
                              "MacOS|Library/(Automator|Spotlight|LoginItems))/",
            .nested = true,
            .weight = 10});
    rules.add({.pattern = "^.*"});
    rules.add({.pattern = "^Info\\.plist$", .omit = true, .weight = 20});
    rules.add({.pattern = "^PkgInfo$", .omit = true, .weight = 20});
    if (!resources.empty()) {
        rules.add({.pattern = "^" + resources, .weight = 20});
        rules.add({.pattern = "^[^/]+$", .nested = true, .weight = 10});
    }
    rules.add({.pattern = "^" + resources + ".*\\.lproj/", .optional = true, .weight = 1000});
    rules.add({.pattern = "^" + resources + ".*\\.lproj/locversion.plist$",
        .omit = true,
        .weight = 1100});
    rules.add({.pattern = "^" + resources + "Base\\.lproj/", .weight = 1010});
    rules.add({.pattern = "^embedded\\.provisionprofile$", .weight = 20});
    rules.add({.pattern = "^version\\.plist$", .weight = 20});
    return rules;
}

SealRules SealRules::read(const plist::Value& value)
{
    const auto* table = value.as<plist::Dictionary>();
    if (table == nullptr || table->size() > mostRules)
        throw FormatError("the resource seal's rules are no table");
    SealRules rules;
    for (const auto& [pattern, entry] : *table) {
        if (entry.as<bool>() != nullptr) {
            rules.add({.pattern = pattern, .omit = !*entry.as<bool>()});
            continue;
        }
        if (entry.as<plist::Dictionary>() == nullptr)
            throw FormatError("a rule of the resource seal is of the wrong kind: " + pattern);
        rules.add({.pattern = pattern,
            .nested = flag(entry, "nested"),
            .omit = flag(entry, "omit"),
            .optional = flag(entry, "optional"),
            .weight = weightOf(entry)});
    }
    return rules;
}

plist::Value SealRules::write() const
{
    plist::Dictionary table;
    for (const auto& [rule, pattern] : m_rules) {
        plist::Dictionary entry;
        if (rule.nested)
            entry.emplace("nested", true);
        if (rule.omit)
            entry.emplace("omit", true);
        if (rule.optional)
            entry.emplace("optional", true);
        if (rule.weight != 1)
            entry.emplace("weight", rule.weight);
        table.emplace(
            rule.pattern, entry.empty() ? plist::Value(true) : plist::Value(std::move(entry)));
    }
    return table;
}

bool SealRules::omitsOnlyAs(const SealRules& signers) const
{
    return std::ranges::all_of(m_rules, [&](const Compiled& own) {
        return !own.rule.omit || std::ranges::any_of(signers.m_rules, [&](const Compiled& theirs) {
            return theirs.rule.omit && theirs.rule.pattern == own.rule.pattern;
        });
    });
}

const SealRule* SealRules::ruleFor(const std::string& path) const
{
    const SealRule* heaviest = nullptr;
    for (const Compiled& compiled : m_rules) {
        if (heaviest != nullptr && compiled.rule.weight <= heaviest->weight)
            continue;
        if (::regexec(compiled.pattern.get(), path.c_str(), 0, nullptr, 0) == 0)
            heaviest = &compiled.rule;
    }
    return heaviest;
}

} // namespace codesign
