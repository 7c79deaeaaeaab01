#include "tools/Security.h"

#include "keychain/IdentityFile.h"
#include "tools/SecurityVerbs.h"
#include "tools/Text.h"
#include "volumes/StateFolder.h"

#include <algorithm>
#include <ostream>
#include <system_error>

namespace tools {

namespace {

constexpr int failureStatus = 1;
constexpr int usageStatus = 2;
constexpr int notFoundStatus = 44; // the last byte of the Mac's error number, -25300

struct Verb {
    std::string_view name;
    std::span<const Option> options;
    int (*run)(KeychainSession&);
    std::string_view usage;
};

constexpr std::array verbs{
    Verb{"find-identity", findIdentityOptions, findIdentity, "[-v] [-p codesigning | basic]"},
    Verb{"find-certificate", findCertificateOptions, findCertificate, "[-a] [-c NAME] [-p] [-Z]"},
    Verb{"import", importOptions, importIdentities, "FILE [-P PASSWORD] [-k KEYCHAIN] [-f FORMAT]"},
    Verb{"delete-identity", deleteIdentityOptions, deleteIdentity, "-Z SHA1 | -c NAME"},
    Verb{"create-identity", {}, createIdentity,
        "NAME TEAM-ID\n       a local rehearsal identity, trusted by this host alone"},
};

int printUsage(std::ostream& err)
{
    err << "Usage: security <command> [arguments]\n";
    for (const Verb& verb : verbs)
        err << "  security " << verb.name << ' ' << verb.usage << '\n';
    return usageStatus;
}

std::string textOf(const std::exception& failure)
{
    if (const auto* host = dynamic_cast<const std::system_error*>(&failure))
        return oneLine(host->what());
    return oneLine(failure.what());
}

int run(const Verb& verb, std::span<const std::string> words, std::ostream& out, std::ostream& err)
{
    try {
        const Arguments arguments(words, verb.options);
        keychain::IdentityStore store(volumes::StateFolder::ofUser().root());
        KeychainSession session{arguments, store, out, err};
        return verb.run(session);
    } catch (const UsageError& mistake) {
        err << "security: " << verb.name << ": " << mistake.what() << "\nUsage: security "
            << verb.name << ' ' << verb.usage << '\n';
        return usageStatus;
    } catch (const SecurityFailure& failure) {
        err << "security: " << textOf(failure) << '\n';
        return failure.status();
    } catch (const std::exception& failure) {
        err << "security: " << textOf(failure) << '\n';
        return failureStatus;
    }
}

} // namespace

SecurityFailure SecurityFailure::notFound()
{
    return SecurityFailure("SecKeychainSearchCopyNext: The specified item could not be found in "
                           "the keychain.",
        notFoundStatus);
}

int security(std::span<const std::string> arguments, std::ostream& out, std::ostream& err)
{
    if (arguments.empty())
        return printUsage(err);
    const auto verb = std::ranges::find(verbs, arguments[0], &Verb::name);
    if (verb == verbs.end()) {
        err << "security: unknown command \"" << oneLine(arguments[0]) << "\"\n";
        return printUsage(err);
    }
    return run(*verb, arguments.subspan(1), out, err);
}

} // namespace tools
