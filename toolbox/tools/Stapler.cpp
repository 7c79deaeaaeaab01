#include "tools/Stapler.h"

#include "bytes/FormatError.h"
#include "codesign/CodeError.h"
#include "notary/ServiceError.h"
#include "notary/Stapler.h"
#include "notary/TicketOffice.h"
#include "tools/Arguments.h"
#include "tools/UserTrust.h"
#include "volumes/StateFolder.h"

#include <array>
#include <ostream>
#include <system_error>

namespace tools {

namespace {

namespace fs = std::filesystem;
using codesign::StaticCode;
using notary::TicketHash;
using notary::TicketIssuer;
using notary::TicketOpinion;
using volumes::StateFolder;

// As sysexits.h has them.
constexpr int statusGood = 0;
constexpr int statusUsage = 64;
constexpr int statusData = 65;
constexpr int statusInput = 66;
constexpr int statusNetwork = 68;
constexpr int statusOutput = 73;

constexpr const char* usage = "Usage: stapler staple [-q] [-v] path ...\n"
                              "       stapler validate [-q] [-v] path ...\n";

/// Why something can't be done, as the user reads it.
class Failure : public std::runtime_error {
public:
    Failure(int status, const std::string& text)
        : std::runtime_error(text)
        , m_status(status)
    { }
    int status() const { return m_status; }

private:
    int m_status;
};

/// The only failure that is told without the action's name.
class NoTicket : public Failure {
public:
    explicit NoTicket(const std::string& text)
        : Failure(statusData, text)
    { }
};

/// What all paths of a call share.
class Office {
public:
    Office(const notary::HttpClient& client, notary::Clock& clock)
        : m_roots(rootsOfUser())
        , m_tickets(StateFolder::ofUser(StateFolder::Making::whenNeeded).root(), client, clock)
    { }

    /// None when nobody has one. Throws Failure.
    std::optional<std::vector<std::byte>> find(
        const StaticCode& code, const notary::LookupPolicy& policy = {}) const
    {
        try {
            return m_tickets.find(code, m_roots, policy);
        } catch (const notary::NetworkError& error) {
            throw Failure(statusNetwork,
                std::string("error is ") + error.what()
                    + "\nCloudKit's response is inconsistent with expections: (null)");
        } catch (const notary::ServiceError& error) {
            throw Failure(statusNetwork,
                "CloudKit's response is inconsistent with expections: "
                    + std::string(error.what()));
        }
    }
    const notary::TicketOffice& tickets() const { return m_tickets; }
    bool asksService(const StaticCode& code) const { return m_tickets.asksService(code, m_roots); }

private:
    keychain::TrustedRoots m_roots;
    notary::TicketOffice m_tickets;
};

StaticCode readCode(const fs::path& path)
{
    const std::string name = path.filename().string();
    if (!fs::exists(path))
        throw Failure(statusInput, name + " does not exist.");
    const char* unsuitable = " can't carry a ticket: only signed applications, other bundles with "
                             "a Contents folder and disk images can.";
    try {
        StaticCode code = StaticCode::read(path);
        if (!notary::canCarryTicket(code))
            throw Failure(statusInput, name + unsuitable);
        if (notary::TicketHash::allOf(code).empty())
            throw Failure(statusData, name + " is not signed.");
        return code;
    } catch (const codesign::CodeError& error) {
        throw Failure(statusInput, name + unsuitable + "\n" + error.what());
    } catch (const bytes::FormatError& error) {
        throw Failure(statusInput, name + unsuitable + "\n" + error.what());
    }
}

std::string notFoundText(const std::string& name, const TicketHash& hash, bool byService)
{
    const std::string question =
        name + " (" + hash.text() + ") failed due to \"Record not found\".";
    if (!byService)
        return "Query of the local stand-in authority, not Apple, for " + question;
    return "CloudKit query for " + question
        + "\nCould not find base64 encoded ticket in response for " + hash.text();
}

TicketOpinion requireGood(
    const Office& office, std::span<const std::byte> ticket, const StaticCode& code)
{
    TicketOpinion opinion = office.tickets().opinionOf(ticket, TicketHash::allOf(code));
    if (opinion.issuer == TicketIssuer::nobody)
        throw Failure(statusData,
            "The ticket of " + code.path.filename().string() + " is not good: " + opinion.reason
                + ".");
    return opinion;
}

TicketOpinion staple(const Office& office, const fs::path& path)
{
    const StaticCode code = readCode(path);
    const auto ticket = office.find(code, notary::justIssued);
    if (!ticket)
        throw Failure(statusData,
            notFoundText(path.filename().string(), TicketHash::allOf(code).front(),
                office.asksService(code)));
    const TicketOpinion opinion = requireGood(office, *ticket, code);
    try {
        notary::staple(code, *ticket);
    } catch (const std::system_error& error) {
        throw Failure(statusOutput, error.code().message());
    }
    if (notary::stapledTicket(readCode(path)) != ticket)
        throw Failure(statusOutput, "The ticket did not stay.");
    return opinion;
}

TicketOpinion validate(const Office& office, const fs::path& path)
{
    const StaticCode code = readCode(path);
    const auto ticket = notary::stapledTicket(code);
    if (!ticket)
        throw NoTicket(path.filename().string() + " does not have a ticket stapled to it.");
    // What the service gives out makes good for a root that this host doesn't have.
    if (office.asksService(code)
        && office.tickets().opinionOf(*ticket, TicketHash::allOf(code)).issuer
            == TicketIssuer::nobody)
        office.find(code);
    return requireGood(office, *ticket, code);
}

/// One of the two things that the tool does, and what it calls it.
struct Action {
    std::string_view word;
    const char* name; // in the report
    TicketOpinion (*run)(const Office&, const fs::path&);
};
constexpr std::array actions{
    Action{"staple", "staple and validate", staple}, Action{"validate", "validate", validate}};

int runOn(
    const Action& action, const Office& office, const std::string& argument, std::string& report)
{
    const fs::path path = fs::absolute(argument).lexically_normal();
    // A folder's name may come with a slash behind it.
    const fs::path plain = path.has_filename() ? path : path.parent_path();
    report = "Processing: " + plain.string() + "\n";
    const auto fail = [&](int status, const std::string& text) {
        report += text + "\nThe " + action.name + " action failed! Error " + std::to_string(status)
            + ".\n";
        return status;
    };
    try {
        const TicketOpinion opinion = action.run(office, plain);
        report += std::string("The ") + action.name + " action worked!\n";
        if (opinion.issuer == TicketIssuer::local)
            report += std::string(notary::localNote) + "\n";
        return statusGood;
    } catch (const NoTicket& failure) {
        report += failure.what() + std::string("\n");
        return failure.status();
    } catch (const Failure& failure) {
        return fail(failure.status(), failure.what());
    } catch (const std::system_error& error) {
        return fail(statusInput, error.code().message());
    } catch (const std::exception& error) {
        return fail(statusData, error.what());
    }
}

int run(const Action& action, const Office& office, std::span<const std::string> words,
    std::ostream& out)
{
    constexpr std::array options{
        Option{"-q"}, Option{"--quiet"}, Option{"-v"}, Option{"--verbose"}};
    const Arguments arguments(words, options);
    const bool isQuiet = arguments.has("-q") || arguments.has("--quiet");
    if (arguments.operands().empty())
        throw UsageError("no path given");
    int status = statusGood;
    for (const std::string& path : arguments.operands()) {
        std::string report;
        const int one = runOn(action, office, path, report);
        if (!isQuiet)
            out << report << std::flush;
        if (status == statusGood)
            status = one;
    }
    return status;
}

const Action& actionIn(std::span<const std::string> arguments)
{
    if (arguments.empty())
        throw UsageError("no action given");
    for (const Action& action : actions) {
        if (arguments.front() == action.word)
            return action;
    }
    throw UsageError("no such action: " + arguments.front());
}

} // namespace

int stapler(const notary::HttpClient& client, notary::Clock& clock,
    std::span<const std::string> arguments, std::ostream& out, std::ostream& err)
{
    try {
        const Action& action = actionIn(arguments);
        return run(action, Office(client, clock), arguments.subspan(1), out);
    } catch (const UsageError& error) {
        err << "stapler: " + std::string(error.what()) + "\n" + usage << std::flush;
        return statusUsage;
    } catch (const std::exception& error) {
        err << "stapler: " + std::string(error.what()) + "\n" << std::flush;
        return statusOutput;
    }
}

int stapler(std::span<const std::string> arguments, std::ostream& out, std::ostream& err)
{
    const notary::HttpClient client;
    notary::SystemClock clock;
    return stapler(client, clock, arguments, out, err);
}

} // namespace tools
