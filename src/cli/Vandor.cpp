#include "cli/Vandor.h"

#include "cli/BuildCommand.h"
#include "cli/BuildOptions.h"
#include "cli/CommandHost.h"

#include <CLI/CLI.hpp>
#include <QIODevice>

#include <sstream>

int runVandor(const QStringList& arguments, const CommandHost& host)
{
    CLI::App program("Packages Mac applications into styled disk images.", "vandor");
    program.set_version_flag("--version", "vandor " VANDOR_VERSION);
    program.require_subcommand(1);
    BuildOptions buildOptions;
    CLI::App* const build = program.add_subcommand("build", "Make a disk image of an application");
    buildOptions.addTo(*build);

    // The parser takes them from the back.
    std::vector<std::string> words;
    for (auto argument = arguments.crbegin(); argument != arguments.crend(); ++argument)
        words.push_back(argument->toStdString());
    try {
        program.parse(std::move(words));
    } catch (const CLI::ParseError& ended) {
        std::ostringstream results;
        std::ostringstream messages;
        const bool isHelp = program.exit(ended, results, messages) == 0;
        host.results.write(results.str().c_str());
        host.messages.write(messages.str().c_str());
        return isHelp ? ExitStatus::done : ExitStatus::misused;
    }
    return runBuildCommand(buildOptions, host);
}
