#pragma once

#include "plist/Value.h"

#include <memory>
#include <regex.h>
#include <string>
#include <vector>

namespace codesign {

/// One rule of a seal: what happens to the paths that its pattern finds.
struct SealRule {
    std::string pattern; // POSIX extended regular expression
    bool nested = false, omit = false, optional = false;
    double weight = 1;
};

/// A table of rules; the heaviest rule that finds a path decides over it.
class SealRules {
public:
    /// The tables of signers: for `files` (kept for old systems) and for `files2`. `resources` is
    /// the path of the resources folder with its slash, empty for flat bundles.
    static SealRules oldDefaults(const std::string& resources);
    static SealRules defaults(const std::string& resources);
    /// As a seal's property list holds them. Throws bytes::FormatError for what is no such table,
    /// patterns that do not compile included.
    static SealRules read(const plist::Value& value);
    plist::Value write() const;

    /// Null when no rule finds the path: then it is not sealed.
    const SealRule* ruleFor(const std::string& path) const;
    /// Whether every rule that leaves something out is one of `signers`.
    bool omitsOnlyAs(const SealRules& signers) const;
    std::size_t count() const { return m_rules.size(); }

private:
    struct FreePattern {
        void operator()(regex_t* pattern) const;
    };
    struct Compiled {
        SealRule rule;
        std::unique_ptr<regex_t, FreePattern> pattern;
    };

    void add(SealRule rule);

    std::vector<Compiled> m_rules; // by pattern
};

} // namespace codesign
