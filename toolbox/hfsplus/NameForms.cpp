#include "hfsplus/NameForms.h"

#include "hfsplus/NameTables.h"

#include <algorithm>
#include <unordered_map>

namespace hfsplus {

namespace {

// Hangul syllables are arithmetic (The Unicode Standard, section 3.12).
constexpr char16_t syllableBase = 0xAC00, leadBase = 0x1100, vowelBase = 0x1161, tailBase = 0x11A7;
constexpr unsigned leadCount = 19, vowelCount = 21, tailCount = 28;
constexpr unsigned syllableCount = leadCount * vowelCount * tailCount;

bool hasOnlyPlainUnits(std::u16string_view name)
{
    return std::all_of(name.begin(), name.end(), [](char16_t unit) { return unit < 0xC0; });
}

/// The row for `unit`, or none.
const Decomposition* decompositionOf(char16_t unit)
{
    const auto row = std::lower_bound(decompositions.begin(), decompositions.end(), unit,
        [](const Decomposition& entry, char16_t code) { return entry.code < code; });
    return row != decompositions.end() && row->code == unit ? &*row : nullptr;
}

uint8_t combiningClass(char16_t unit)
{
    const auto run = std::lower_bound(combiningRuns.begin(), combiningRuns.end(), unit,
        [](const CombiningRun& entry, char16_t code) { return entry.last < code; });
    return run != combiningRuns.end() && run->first <= unit ? run->combiningClass : uint8_t{0};
}

void appendDecomposed(std::u16string& out, char16_t unit)
{
    const unsigned syllable = static_cast<unsigned>(unit - syllableBase);
    if (unit >= syllableBase && syllable < syllableCount) {
        const unsigned tail = syllable % tailCount;
        out += static_cast<char16_t>(leadBase + syllable / (vowelCount * tailCount));
        out += static_cast<char16_t>(vowelBase + syllable / tailCount % vowelCount);
        if (tail != 0)
            out += static_cast<char16_t>(tailBase + tail);
    } else if (const Decomposition* row = decompositionOf(unit)) {
        for (const char16_t part : row->units) {
            if (part != 0)
                out += part;
        }
    } else {
        out += unit;
    }
}

void orderMarks(std::u16string& name)
{
    const auto isStarter = [](char16_t unit) { return combiningClass(unit) == 0; };
    for (auto run = name.begin(); run != name.end();) {
        run = std::find_if_not(run, name.end(), isStarter);
        const auto end = std::find_if(run, name.end(), isStarter);
        std::stable_sort(
            run, end, [](char16_t a, char16_t b) { return combiningClass(a) < combiningClass(b); });
        run = end;
    }
}

using PairTable = std::unordered_map<uint32_t, char16_t>;

constexpr uint32_t pairKey(char16_t first, char16_t second)
{
    return static_cast<uint32_t>(first) << 16 | second;
}

/// What two neighbours compose to. The table holds full decompositions, and the last part of one
/// joins what the parts before it compose to; short ones come first, so that this is known.
const PairTable& compositions()
{
    static const PairTable table = [] {
        PairTable pairs;
        for (std::size_t length = 2; length <= 4; ++length) {
            for (const Decomposition& row : decompositions) {
                const std::u16string_view units(row.units.data(), row.units.size());
                const std::u16string_view parts = units.substr(0, units.find(u'\0'));
                if (!row.composes || parts.size() != length)
                    continue;
                char16_t head = parts[0];
                for (std::size_t i = 1; i + 1 < length; ++i)
                    head = pairs.at(pairKey(head, parts[i]));
                pairs.emplace(pairKey(head, parts.back()), row.code);
            }
        }
        return pairs;
    }();
    return table;
}

/// Zero where the two don't compose.
char16_t composition(char16_t first, char16_t second)
{
    const unsigned lead = static_cast<unsigned>(first - leadBase);
    const unsigned vowel = static_cast<unsigned>(second - vowelBase);
    if (first >= leadBase && lead < leadCount && second >= vowelBase && vowel < vowelCount)
        return static_cast<char16_t>(syllableBase + (lead * vowelCount + vowel) * tailCount);
    const unsigned syllable = static_cast<unsigned>(first - syllableBase);
    const unsigned tail = static_cast<unsigned>(second - tailBase);
    if (first >= syllableBase && syllable < syllableCount && syllable % tailCount == 0
        && second > tailBase && tail < tailCount)
        return static_cast<char16_t>(first + tail);
    const auto pair = compositions().find(pairKey(first, second));
    return pair == compositions().end() ? u'\0' : pair->second;
}

} // namespace

std::u16string decomposed(std::u16string_view name)
{
    if (hasOnlyPlainUnits(name))
        return std::u16string(name);
    std::u16string out;
    out.reserve(name.size() + name.size() / 2);
    for (const char16_t unit : name)
        appendDecomposed(out, unit);
    orderMarks(out);
    return out;
}

std::u16string composed(std::u16string_view name)
{
    if (hasOnlyPlainUnits(name))
        return std::u16string(name);
    std::u16string out;
    std::size_t starter = std::u16string::npos;
    uint8_t classBefore = 0;
    for (const char16_t unit : name) {
        const uint8_t unitClass = combiningClass(unit);
        const bool adjacent = starter + 1 == out.size();
        if (starter != std::u16string::npos && (adjacent || classBefore < unitClass)) {
            if (const char16_t whole = composition(out[starter], unit); whole != 0) {
                out[starter] = whole;
                continue;
            }
        }
        if (unitClass == 0)
            starter = out.size();
        classBefore = unitClass;
        out += unit;
    }
    return out;
}

} // namespace hfsplus
