#include "cli/Vandor.h"

#include "cli/BuildCommand.h"
#include "cli/BuildOptions.h"
#include "cli/CommandHost.h"
#include "cli/IdentitiesCommand.h"
#include "cli/SignCommand.h"

#include <CLI/CLI.hpp>
#include <QIODevice>

#include <sstream>

namespace {

/// A mistake in the form of all others, which name the command and where its help is.
std::string mistakeText(const CLI::App* program, const CLI::Error& mistake)
{
    std::string command = program->get_name();
    for (const CLI::App* const used : program->get_subcommands())
        command += ' ' + used->get_name();
    return command + ": " + mistake.what() + "\nRun “" + command + " --help” for more.\n";
}

} // namespace

int runVandor(const QStringList& arguments, const CommandHost& host)
{
    CLI::App program("Packages Mac applications into styled disk images.", "vandor");
    program.set_version_flag("--version", "vandor " VANDOR_VERSION);
    program.require_subcommand(0, 1); // none is found out below: an unknown one is told by name
    program.failure_message(&mistakeText);
    BuildOptions buildOptions;
    CLI::App* const build = program.add_subcommand("build", "Make a disk image of an application");
    buildOptions.addTo(*build);
    IdentitiesOptions identitiesOptions;
    CLI::App* const identities =
        program.add_subcommand("identities", "List the identities that can sign");
    identitiesOptions.addTo(*identities);
    SignOptions signOptions;
    CLI::App* const sign = program.add_subcommand("sign", "Sign an application or a disk image");
    signOptions.addTo(*sign);

    // The parser takes them from the back.
    std::vector<std::string> words;
    for (auto argument = arguments.crbegin(); argument != arguments.crend(); ++argument)
        words.push_back(argument->toStdString());
    try {
        program.parse(std::move(words));
        if (program.get_subcommands().empty())
            throw CLI::RequiredError("A command");
    } catch (const CLI::ParseError& ended) {
        std::ostringstream results;
        std::ostringstream messages;
        const bool isHelp = program.exit(ended, results, messages) == 0;
        host.results.write(results.str().c_str());
        host.messages.write(messages.str().c_str());
        return isHelp ? ExitStatus::done : ExitStatus::misused;
    }
    if (identities->parsed())
        return runIdentitiesCommand(identitiesOptions, host);
    if (sign->parsed())
        return runSignCommand(signOptions, host);
    return runBuildCommand(buildOptions, host);
}
