#include "tools/Spctl.h"

#include "codesign/CodeError.h"
#include "notary/Assessment.h"
#include "tools/Arguments.h"
#include "tools/UserTrust.h"
#include "volumes/StateFolder.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <getopt.h>
#include <ostream>
#include <system_error>

namespace tools {

namespace {

namespace fs = std::filesystem;
using notary::Purpose;

constexpr int statusGood = 0;
constexpr int statusBad = 1;
constexpr int statusUsage = 2;
constexpr int statusRejected = 3;

constexpr const char* usage =
    "Usage: spctl --assess [-t execute | install | open] [-v*] [--context CONTEXT] path ...\n";
/// With this an image is judged by its own signature, however it came here.
constexpr std::string_view ownSignature = "context:primary-signature";
/// A verdict is worth no longer wait.
constexpr std::chrono::seconds patience{15};

struct Call {
    Purpose purpose = Purpose::execute;
    int verbosity = 0;
    std::vector<std::string> paths;
};

Purpose purposeFor(const std::string& type, bool byOwnSignature)
{
    const auto begins = [&](std::string_view whole) {
        return !type.empty() && whole.starts_with(type);
    };
    if (begins("execute"))
        return Purpose::execute;
    if (begins("install"))
        return Purpose::install;
    if (begins("open"))
        return byOwnSignature ? Purpose::openWithContext : Purpose::openWithoutContext;
    throw UsageError("unknown type: " + type);
}

Call readCall(std::span<const std::string> words)
{
    constexpr int contextOption = 1;
    constexpr int ignoredOption = 2; // there is no cache
    constexpr std::array<option, 7> options{{
        {"assess", no_argument, nullptr, 'a'},
        {"type", required_argument, nullptr, 't'},
        {"verbose", optional_argument, nullptr, 'v'},
        {"context", required_argument, nullptr, contextOption},
        {"ignore-cache", no_argument, nullptr, ignoredOption},
        {"no-cache", no_argument, nullptr, ignoredOption},
        {nullptr, 0, nullptr, 0},
    }};
    std::vector<std::string> copies{"spctl"};
    copies.insert(copies.end(), words.begin(), words.end());
    std::vector<char*> raw;
    for (std::string& word : copies)
        raw.push_back(word.data());
    raw.push_back(nullptr);

    Call call;
    std::string type = "execute";
    bool assess = false;
    bool byOwnSignature = false;
    optind = 0; // as GNU's getopt is told of new words
    opterr = 0;
    for (int letter = 0; (letter = ::getopt_long(static_cast<int>(copies.size()), raw.data(),
                              "at:v", options.data(), nullptr))
         != -1;) {
        if (letter == 'a')
            assess = true;
        else if (letter == 't')
            type = optarg;
        else if (letter == 'v')
            call.verbosity = optarg != nullptr ? std::atoi(optarg) : call.verbosity + 1;
        else if (letter == contextOption)
            byOwnSignature |= std::string_view(optarg).starts_with(ownSignature);
        else if (letter != ignoredOption)
            throw UsageError("not supported on this host, or without its value: "
                + (optopt >= 'A' ? std::string("-") + static_cast<char>(optopt)
                                 : std::string(raw[static_cast<std::size_t>(optind) - 1])));
    }
    call.paths.assign(raw.begin() + optind, raw.end() - 1);
    if (!assess)
        throw UsageError("this host has no security policy to change: only --assess is supported");
    if (call.paths.empty())
        throw UsageError("no path given");
    call.purpose = purposeFor(type, byOwnSignature);
    return call;
}

std::string reportOf(const notary::Assessment& verdict, const std::string& path, int verbosity)
{
    std::string text;
    if (!verdict.accepted || verbosity >= 1)
        text += path + (verdict.accepted ? ": accepted" : ": rejected")
            + (verdict.remark.empty() ? "" : " (" + verdict.remark + ")") + "\n";
    if (verbosity >= 1 && !verdict.source.empty())
        text += "source=" + verdict.source + "\n";
    if (verbosity >= 2 && !verdict.origin.empty())
        text += "origin=" + verdict.origin + "\n";
    if (verbosity >= 1) {
        for (const std::string& note : verdict.notes)
            text += note + "\n";
    }
    return text;
}

int assessOne(const Call& call, const std::string& path, const keychain::TrustedRoots& roots,
    const notary::TicketOffice& office, std::string& report)
{
    try {
        if (!fs::exists(path))
            throw std::system_error(ENOENT, std::generic_category());
        const auto verdict = notary::assess(path, call.purpose, roots, office);
        report = reportOf(verdict, path, call.verbosity);
        return verdict.accepted ? statusGood : statusRejected;
    } catch (const std::system_error& error) {
        report = path + ": " + error.code().message() + "\n";
    } catch (const std::exception& error) {
        report = path + ": " + error.what() + "\n";
    }
    return statusBad;
}

int run(const Call& call, std::ostream& err)
{
    using volumes::StateFolder;
    const fs::path state = StateFolder::ofUser(StateFolder::Making::whenNeeded).root();
    const auto roots = rootsOfUser();
    const notary::HttpClient client(patience);
    notary::SystemClock clock;
    const notary::TicketOffice office(state, client, clock);
    int status = statusGood;
    for (const std::string& path : call.paths) {
        std::string report;
        const int one = assessOne(call, path, roots, office, report);
        err << report << std::flush;
        if (status == statusGood)
            status = one;
    }
    return status;
}

} // namespace

int spctl(std::span<const std::string> arguments, std::ostream&, std::ostream& err)
{
    try {
        return run(readCall(arguments), err);
    } catch (const UsageError& error) {
        err << "spctl: " + std::string(error.what()) + "\n" + usage << std::flush;
        return statusUsage;
    } catch (const std::exception& error) {
        err << "spctl: " + std::string(error.what()) + "\n" << std::flush;
        return statusBad;
    }
}

} // namespace tools
