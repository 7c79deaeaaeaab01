#include "tools/Codesign.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "codesign/CodeError.h"
#include "codesign/CodeReport.h"
#include "codesign/CodeSigner.h"
#include "codesign/CodeVerifier.h"
#include "keychain/HttpTimeStamper.h"
#include "keychain/IdentityStore.h"
#include "keychain/LocalAuthority.h"
#include "keychain/LocalTimeStamper.h"
#include "notary/TicketOffice.h"
#include "tools/Arguments.h"
#include "tools/CodesignArguments.h"
#include "tools/UserTrust.h"
#include "volumes/StateFolder.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <system_error>

namespace tools {

namespace {

using namespace ::codesign;
namespace fs = std::filesystem;
using Call = CodesignArguments;

constexpr int statusGood = 0;
constexpr int statusBad = 1;
constexpr int statusUsage = 2;
constexpr int statusRequirement = 3;

constexpr const char* usage =
    "Usage: codesign -s identity [-fv*] [-o flags] [--deep] [--timestamp[=url|none]] "
    "[--entitlements file] [-i identifier] path ... # sign\n"
    "       codesign --verify [-v*] [--deep] [--strict] [-R=requirement] path ...\n"
    "       codesign -d [-v*] [--entitlements -] [-r-] path ... # display contents\n"
    "       codesign --remove-signature path ...\n";

/// What ends a call before any path's turn comes.
class NotReady : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

Entitlements entitlementsIn(const std::string& path)
{
    try {
        const auto file = bytes::File::open(path, bytes::File::Mode::read);
        return Entitlements::read(file.read(0, static_cast<std::size_t>(file.size())));
    } catch (const std::system_error& error) {
        throw NotReady(path + ": " + error.code().message());
    } catch (const bytes::FormatError& error) {
        throw NotReady(path + ": " + error.what());
    }
}

/// Everything that one run signs with. Owns what the signer borrows.
class SigningTools {
public:
    explicit SigningTools(const Call& call)
    {
        if (call.identity != "-") {
            m_store.emplace(volumes::StateFolder::ofUser().root());
            m_identity = m_store->find(call.identity);
            m_signer.identity = &*m_identity;
            chooseStamper(call);
        }
        m_signer.flags = call.flags;
        if (!call.entitlements.empty())
            m_signer.entitlements = entitlementsIn(call.entitlements);
    }

    const Signer& signer() const { return m_signer; }

private:
    void chooseStamper(const Call& call)
    {
        const bool byDefault = isDeveloperId(m_identity->chain());
        if (call.stamp == Call::Stamp::refused
            || (call.stamp == Call::Stamp::asIdentityWants && !byDefault))
            return;
        if (m_identity->isLocal && call.stampServer.empty()) {
            m_authority = std::make_unique<keychain::LocalAuthority>(*m_store);
            m_stamper = std::make_unique<keychain::LocalTimeStamper>(*m_authority);
        } else {
            m_stamper = std::make_unique<keychain::HttpTimeStamper>(call.stampServer.empty()
                    ? std::string(keychain::HttpTimeStamper::publicService)
                    : call.stampServer);
        }
        m_signer.stamper = m_stamper.get();
    }

    std::optional<keychain::IdentityStore> m_store;
    std::optional<keychain::Identity> m_identity;
    std::unique_ptr<keychain::LocalAuthority> m_authority;
    std::unique_ptr<keychain::TimeStamper> m_stamper;
    Signer m_signer;
};

/// One path's report, put out in one piece at the end.
struct Report {
    std::string out, err;
};

CodeSigner signerFor(const Call& call, const SigningTools& tools)
{
    CodeSigner::Options options;
    options.force = call.force;
    options.deep = call.deep;
    options.dryRun = call.dryRun;
    if (!call.identifier.empty())
        options.identifier = call.identifier;
    return {tools.signer(), options};
}

int signOne(const Call& call, const SigningTools& tools, const std::string& path, Report& report)
{
    const CodeSigner::Result result = signerFor(call, tools).sign(path);
    for (const CodeSigner::PlannedCode& step : result.plan) {
        report.out += step.path.string() + ": " + (step.replaces ? "replace" : "sign") + " "
            + step.code.format + " [" + step.code.identifier + "]\n";
    }
    if (call.dryRun)
        return statusGood;
    if (result.replaced == CodeSigner::Replaced::signature)
        report.err += path + ": replacing existing signature\n";
    else if (result.replaced == CodeSigner::Replaced::brokenSignature)
        report.err += path + ": replacing invalid existing signature\n";
    if (call.verbosity >= 1)
        report.err +=
            path + ": signed " + result.code.format + " [" + result.code.identifier + "]\n";
    return statusGood;
}

bool isNotarized(const StaticCode& code)
{
    using volumes::StateFolder;
    const notary::HttpClient client;
    notary::SystemClock clock;
    const auto state = StateFolder::ofUser(StateFolder::Making::whenNeeded).root();
    return notary::TicketOffice(state, client, clock).answersFor(code);
}

int verifyOne(
    const Call& call, const keychain::TrustedRoots& roots, const std::string& path, Report& report)
{
    std::optional<Expression> test;
    if (call.testRequirement)
        test = parseRequirement(*call.testRequirement);
    CodeVerifier::Options options{.deep = call.deep, .strict = call.strict};
    if (call.verbosity >= 2)
        options.follow = [&report](const std::string& line) { report.err += line + "\n"; };
    const auto verdict =
        CodeVerifier(roots, isNotarized).verify(path, options, test ? &*test : nullptr);
    if (call.verbosity >= 1)
        report.err += path + ": valid on disk\n";
    if (!verdict.meetsDesignated) {
        report.err += path + ": does not satisfy its designated Requirement\n";
        return statusRequirement;
    }
    if (call.verbosity >= 1)
        report.err += path + ": satisfies its Designated Requirement\n";
    if (!verdict.meetsTest) {
        report.err += "test-requirement: code failed to satisfy specified code requirement(s)\n";
        return statusRequirement;
    }
    if (test && call.verbosity >= 1)
        report.err += path + ": explicit requirement satisfied\n";
    return statusGood;
}

int displayOne(
    const Call& call, const keychain::TrustedRoots& roots, const std::string& path, Report& report)
{
    const StaticCode code = StaticCode::read(path);
    for (const std::string& line : reportOn(code, roots, call.verbosity))
        report.err += line + "\n";
    if (call.showRequirements) {
        report.out += (hasExplicitRequirement(code) ? "designated => " : "# designated => ")
            + designatedText(code) + "\n";
    }
    if (call.showEntitlements) {
        const std::vector<std::byte> xml = entitlementsIn(code);
        report.out.append(reinterpret_cast<const char*>(xml.data()), xml.size());
    }
    return statusGood;
}

int removeOne(const std::string& path)
{
    removeSignature(path);
    return statusGood;
}

void describe(const CodeError& error, const std::string& path, int verbosity, Report& report)
{
    report.err += path + ": " + error.what() + "\n";
    if (!error.subcomponent().empty())
        report.err += "In subcomponent: " + fs::absolute(error.subcomponent()).string() + "\n";
    if (!error.architecture().empty())
        report.err += "In architecture: " + error.architecture() + "\n";
    if (verbosity >= 1) {
        for (const std::string& line : error.details())
            report.out += line + "\n";
    }
}

/// Does one path; whatever goes wrong with it becomes its report.
int guarded(
    const Call& call, const std::string& path, Report& report, const std::function<int()>& work)
{
    try {
        return work();
    } catch (const CodeError& error) {
        describe(error, path, call.verbosity, report);
    } catch (const keychain::IdentityNotFound& error) {
        report.err += std::string(error.what()) + "\n";
    } catch (const NotReady& error) {
        report.err += std::string(error.what()) + "\n";
    } catch (const volumes::StateFolderError& error) {
        report.err += std::string("codesign: ") + error.what() + "\n";
    } catch (const keychain::CryptoError&) {
        report.err += path + ": errSecInternalComponent\n";
    } catch (const std::system_error& error) {
        report.err += path + ": " + error.code().message() + "\n";
    } catch (const std::exception& error) {
        report.err += path + ": " + error.what() + "\n";
    }
    return statusBad;
}

int runOn(const Call& call, const std::string& path, const SigningTools* tools,
    const keychain::TrustedRoots& roots, Report& report)
{
    return guarded(call, path, report, [&] {
        switch (call.mode) {
        case Call::Mode::sign:
            return signOne(call, *tools, path, report);
        case Call::Mode::verify:
            return verifyOne(call, roots, path, report);
        case Call::Mode::display:
            return displayOne(call, roots, path, report);
        case Call::Mode::removeSignature:
            return removeOne(path);
        }
        return statusBad;
    });
}

int run(const Call& call, std::ostream& out, std::ostream& err)
{
    const auto put = [&](const Report& report) {
        out << report.out << std::flush;
        err << report.err << std::flush;
    };
    Report failure;
    std::unique_ptr<SigningTools> tools;
    keychain::TrustedRoots roots;
    const int ready = guarded(call, call.paths.front(), failure, [&] {
        if (call.mode == Call::Mode::sign)
            tools = std::make_unique<SigningTools>(call);
        else
            roots = rootsOfUser();
        return statusGood;
    });
    if (ready != statusGood) {
        put(failure);
        return ready;
    }

    int status = statusGood;
    for (const std::string& path : call.paths) {
        Report report;
        status = std::max(status, runOn(call, path, tools.get(), roots, report));
        put(report);
    }
    return status;
}

} // namespace

int codesign(std::span<const std::string> arguments, std::ostream& out, std::ostream& err)
{
    try {
        return run(CodesignArguments::read(arguments), out, err);
    } catch (const Unsupported& error) {
        err << "codesign: " + std::string(error.what()) + "\n" << std::flush;
        return statusUsage;
    } catch (const UsageError& error) {
        err << "codesign: " + std::string(error.what()) + "\n" + usage << std::flush;
        return statusUsage;
    } catch (const std::exception& error) {
        err << "codesign: " + std::string(error.what()) + "\n" << std::flush;
        return statusBad;
    }
}

} // namespace tools
