#include "tools/Notarytool.h"

#include "notary/NetworkError.h"
#include "tools/NotarytoolVerbs.h"
#include "volumes/StateFolder.h"

#include <algorithm>
#include <ostream>

namespace tools {

namespace fs = std::filesystem;

namespace {

constexpr int failureStatus = 1;
constexpr int usageStatus = 64; // as sysexits.h has them
constexpr int unavailableStatus = 69;

struct Verb {
    std::string_view name;
    void (*run)(NotarySession&);
    std::string_view usage;
};

constexpr std::array verbs{
    Verb{"store-credentials", storeCredentials,
        "<profile-name> --key <path> --key-id <id> [--issuer <id>] [--service <url>]\n"
        "       notarytool store-credentials <profile-name> --apple-id <id> --team-id <id>"},
    Verb{"submit", submitFile,
        "<file> <credentials> [--wait] [--timeout <duration>] [--webhook <url>] [--output-format "
        "<normal|json>]"},
    Verb{"info", submissionInfo, "<submission-id> <credentials>"},
    Verb{"wait", waitForSubmission, "<submission-id> <credentials> [--timeout <duration>]"},
    Verb{"history", notaryHistory, "<credentials>"},
    Verb{"log", submissionLog, "<submission-id> <credentials> [<path>]"},
};

/// All verbs take all; those after the blank change nothing on this host.
constexpr std::array options{Option{"--keychain-profile", true}, Option{"--key", true},
    Option{"--key-id", true}, Option{"--issuer", true}, Option{"--apple-id", true},
    Option{"--team-id", true}, Option{"--password", true}, Option{"--service", true},
    Option{"--no-validate"}, Option{"--wait"}, Option{"--timeout", true}, Option{"--webhook", true},
    Option{"--output-format", true},

    Option{"--validate"}, Option{"--no-wait"}, Option{"--no-progress"}, Option{"--progress"},
    Option{"--verbose"}, Option{"--keychain", true}, Option{"--sync"}, Option{"--s3-acceleration"},
    Option{"--no-s3-acceleration"}};

struct ShortOption {
    std::string_view letter, name;
};
constexpr std::array shortOptions{ShortOption{"-p", "--keychain-profile"},
    ShortOption{"-k", "--key"}, ShortOption{"-d", "--key-id"}, ShortOption{"-i", "--issuer"},
    ShortOption{"-f", "--output-format"}, ShortOption{"-v", "--verbose"}};

/// Short names become long ones, and "--name=value" two words.
std::vector<std::string> plainWords(std::span<const std::string> words)
{
    std::vector<std::string> plain;
    for (const std::string& word : words) {
        const auto known = std::ranges::find(shortOptions, word, &ShortOption::letter);
        const std::size_t equals = word.find('=');
        if (known != shortOptions.end()) {
            plain.emplace_back(known->name);
        } else if (word.starts_with("--") && equals != std::string::npos) {
            plain.push_back(word.substr(0, equals));
            plain.push_back(word.substr(equals + 1));
        } else {
            plain.push_back(word);
        }
    }
    return plain;
}

int printUsage(std::ostream& err)
{
    std::string text = "USAGE: notarytool <subcommand>\n";
    for (const Verb& verb : verbs)
        text += "  notarytool " + std::string(verb.name) + " " + std::string(verb.usage) + "\n";
    text += "<credentials>: --keychain-profile <profile-name>, or --key <path> --key-id <id> "
            "[--issuer <id>]\n";
    err << text;
    return usageStatus;
}

int run(const Verb& verb, const NotaryHost& host, std::span<const std::string> words,
    std::ostream& out, std::ostream& err)
{
    const auto fail = [&](int status, const std::string& text) {
        out.flush();
        err << "Error: " + text + "\n" << std::flush;
        return status;
    };
    try {
        const Arguments arguments(plainWords(words), options);
        fs::create_directories(host.folder);
        NotarySession session{host, arguments, out};
        verb.run(session);
        return 0;
    } catch (const UsageError& mistake) {
        return fail(usageStatus,
            std::string(mistake.what()) + "\nUsage: notarytool " + std::string(verb.name) + " "
                + std::string(verb.usage));
    } catch (const UnknownProfile& failure) {
        return fail(unavailableStatus, failure.what());
    } catch (const notary::NetworkError& failure) {
        return fail(failureStatus,
            "HTTPError(statusCode: nil, error: " + std::string(failure.what()) + ")");
    } catch (const std::exception& failure) {
        return fail(failureStatus, failure.what());
    }
}

} // namespace

int notarytool(const NotaryHost& host, std::span<const std::string> arguments, std::ostream& out,
    std::ostream& err)
{
    if (arguments.empty())
        return printUsage(err);
    const auto verb = std::ranges::find(verbs, arguments[0], &Verb::name);
    if (verb == verbs.end())
        return printUsage(err);
    return run(*verb, host, arguments.subspan(1), out, err);
}

int notarytool(std::span<const std::string> arguments, std::ostream& out, std::ostream& err)
try {
    notary::SystemClock clock;
    const auto state = volumes::StateFolder::ofUser();
    return notarytool(
        {.clock = clock, .client = notary::HttpClient(), .folder = state.root() / "notary"},
        arguments, out, err);
} catch (const std::exception& failure) {
    err << "Error: " + std::string(failure.what()) + "\n";
    return failureStatus;
}

} // namespace tools
