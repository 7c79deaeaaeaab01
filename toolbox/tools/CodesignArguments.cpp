#include "tools/CodesignArguments.h"

#include "codesign/CodeDirectory.h"
#include "tools/Arguments.h"

#include <functional>

namespace tools {

namespace {

using Mode = CodesignArguments::Mode;
using Stamp = CodesignArguments::Stamp;

/// How an option takes its value: never, in the next word (or behind '='), only behind '='.
enum class Value { none, required, optional };

struct OptionRow {
    const char* longName;
    char shortName; // 0: none
    Value value;
    std::function<void(CodesignArguments&, const std::optional<std::string>&)> take;
};

void ignore(CodesignArguments&, const std::optional<std::string>&) { }

std::string textOf(const std::optional<std::string>& value)
{
    return value.value_or("");
}

void takeFlags(CodesignArguments& call, const std::optional<std::string>& value)
{
    try {
        call.flags = codesign::flagsFrom(textOf(value));
    } catch (const std::logic_error&) {
        throw UsageError("--options " + textOf(value) + ": no such flags");
    }
}

/// An option of the Mac's tool that this one would do wrong to ignore.
auto refuse(const char* option)
{
    return [option](CodesignArguments&, const std::optional<std::string>&) {
        throw Unsupported(std::string(option) + " is not supported on this host");
    };
}

void takeStamp(CodesignArguments& call, const std::optional<std::string>& value)
{
    call.stamp = value == "none" ? Stamp::refused : Stamp::wanted;
    if (value && *value != "none")
        call.stampServer = *value;
}

void takeVerbosity(CodesignArguments& call, const std::optional<std::string>& value)
{
    if (!value) {
        ++call.verbosity;
        return;
    }
    if (value->size() != 1 || value->front() < '0' || value->front() > '9')
        throw UsageError("--verbose=" + *value + ": not a level");
    call.verbosity = value->front() - '0';
}

void takeTest(CodesignArguments& call, const std::optional<std::string>& value)
{
    // "=TEXT" is the requirement itself; a file would hold it otherwise.
    const std::string text = textOf(value);
    if (!text.starts_with('='))
        throw Unsupported("a requirement in a file is not supported on this host: -R=TEXT");
    call.testRequirement = text.substr(1);
}

const std::vector<OptionRow>& options()
{
    static const std::vector<OptionRow> rows{
        {"sign", 's', Value::required,
            [](auto& call, const auto& value) {
                call.mode = Mode::sign;
                call.identity = textOf(value);
            }},
        {"verify", 0, Value::none, [](auto& call, const auto&) { call.mode = Mode::verify; }},
        {"display", 'd', Value::none, [](auto& call, const auto&) { call.mode = Mode::display; }},
        {"remove-signature", 0, Value::none,
            [](auto& call, const auto&) { call.mode = Mode::removeSignature; }},
        {"force", 'f', Value::none, [](auto& call, const auto&) { call.force = true; }},
        {"deep", 0, Value::none, [](auto& call, const auto&) { call.deep = true; }},
        {"strict", 0, Value::optional, [](auto& call, const auto&) { call.strict = true; }},
        {"no-strict", 0, Value::none, [](auto& call, const auto&) { call.strict = false; }},
        {"dryrun", 0, Value::none, [](auto& call, const auto&) { call.dryRun = true; }},
        {"options", 'o', Value::required, takeFlags},
        {"timestamp", 0, Value::optional, takeStamp},
        {"entitlements", 0, Value::required,
            [](auto& call, const auto& value) {
                call.entitlements = textOf(value);
                call.showEntitlements = true;
            }},
        {"identifier", 'i', Value::required,
            [](auto& call, const auto& value) { call.identifier = textOf(value); }},
        {"requirements", 'r', Value::required,
            [](auto& call, const auto& value) {
                if (value != "-")
                    throw Unsupported(
                        "requirements of one's own are not supported on this host, only -r-");
                call.showRequirements = true;
            }},
        {"test-requirement", 'R', Value::required, takeTest},
        {"verbose", 'v', Value::optional, takeVerbosity},
        {"generate-entitlement-der", 0, Value::none, ignore}, // always done
        {"keychain", 0, Value::required, ignore}, // there is one store only
        {"architecture", 'a', Value::required, refuse("--architecture")},
        {"preserve-metadata", 0, Value::optional, refuse("--preserve-metadata")},
        {"digest-algorithm", 0, Value::required, refuse("--digest-algorithm")},
        {"prefix", 0, Value::required, refuse("--prefix")},
        {"check-notarization", 0, Value::none, refuse("--check-notarization")},
    };
    return rows;
}

class Reader {
public:
    explicit Reader(std::span<const std::string> words)
        : m_words(words)
    { }

    CodesignArguments read()
    {
        while (m_at < m_words.size()) {
            const std::string& word = m_words[m_at++];
            if (m_onlyPaths || word.size() < 2 || word[0] != '-')
                m_call.paths.push_back(word);
            else if (word == "--")
                m_onlyPaths = true;
            else if (word[1] == '-')
                readLong(word.substr(2));
            else
                readShort(word);
        }
        finish();
        return std::move(m_call);
    }

private:
    void readLong(const std::string& word)
    {
        const std::size_t equals = word.find('=');
        const std::string name = word.substr(0, equals);
        std::optional<std::string> value;
        if (equals != std::string::npos)
            value = word.substr(equals + 1);
        for (const OptionRow& row : options()) {
            if (name == row.longName)
                return take(row, std::move(value), "--" + name);
        }
        throw UsageError("unrecognized option `--" + name + "'");
    }

    /// Letters run together; one that needs a value takes the rest of its word or the next one.
    void readShort(const std::string& word)
    {
        for (std::size_t i = 1; i < word.size(); ++i) {
            const OptionRow& row = optionFor(word[i]);
            std::optional<std::string> value;
            const bool takesRest = row.value == Value::required && i + 1 < word.size();
            if (takesRest)
                value = word.substr(i + 1);
            take(row, std::move(value), std::string("-") + word[i]);
            if (takesRest)
                return;
        }
    }

    static const OptionRow& optionFor(char letter)
    {
        for (const OptionRow& row : options()) {
            if (row.shortName == letter)
                return row;
        }
        throw UsageError(std::string("invalid option -- ") + letter);
    }

    void take(const OptionRow& row, std::optional<std::string> value, const std::string& asGiven)
    {
        if (row.value == Value::none && value)
            throw UsageError("option `" + asGiven + "' doesn't allow an argument");
        if (row.value == Value::required && !value) {
            if (m_at == m_words.size())
                throw UsageError("option `" + asGiven + "' requires an argument");
            value = m_words[m_at++];
        }
        if (isMode(row))
            m_modeGiven = true;
        row.take(m_call, value);
    }

    static bool isMode(const OptionRow& row)
    {
        const std::string name = row.longName;
        return name == "sign" || name == "verify" || name == "display"
            || name == "remove-signature";
    }

    void finish()
    {
        // A -v alone asks to verify, and is used up by that.
        if (!m_modeGiven) {
            if (m_call.verbosity == 0)
                throw UsageError("say what to do: --sign, --verify, --display");
            --m_call.verbosity;
        }
        if (m_call.paths.empty())
            throw UsageError("no path was given");
    }

    std::span<const std::string> m_words;
    std::size_t m_at = 0;
    bool m_onlyPaths = false;
    bool m_modeGiven = false;
    CodesignArguments m_call;
};

} // namespace

CodesignArguments CodesignArguments::read(std::span<const std::string> words)
{
    return Reader(words).read();
}

} // namespace tools
