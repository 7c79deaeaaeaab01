#include "cli/Vandor.h"

#include "cli/BuildCommand.h"
#include "cli/BuildOptions.h"
#include "cli/CommandHost.h"
#include "cli/CommandReport.h"
#include "cli/CredentialsCommand.h"
#include "cli/IdentitiesCommand.h"
#include "cli/InspectCommand.h"
#include "cli/NotarizeCommand.h"
#include "cli/ShipCommand.h"
#include "cli/SignCommand.h"
#include "cli/StapleCommand.h"
#include "cli/VerifyCommand.h"

#include <CLI/CLI.hpp>
#include <QIODevice>

#include <algorithm>
#include <functional>
#include <memory>
#include <sstream>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

/// A mistake in the form of all others, which name the command and where its help is.
std::string mistakeText(const CLI::App* program, const CLI::Error& mistake)
{
    std::string command = program->get_name();
    for (const CLI::App* used = program; !used->get_subcommands().empty();) {
        used = used->get_subcommands().front();
        command += ' ' + used->get_name();
    }
    return command + ": " + mistake.what() + "\nRun “" + command + " --help” for more.\n";
}

/// What the parser refuses never reaches a command, whose report would tell a program of it.
void reportMistake(const CLI::App& program, const CLI::Error& mistake, const CommandHost& host)
{
    const auto used = program.get_subcommands();
    const QString command = used.empty() ? QString() : QString::fromStdString(used[0]->get_name());
    CommandReport(host.results, host.messages, {command, true})
        .misusedEvent(QString::fromUtf8(mistake.what()));
}

/// The subcommands: each has options, which live as long as the parser, and a function.
class Commands {
public:
    Commands(CLI::App& program, const CommandHost& host)
        : m_program(program)
        , m_host(host)
    {
        add<BuildOptions>("build", "Make a disk image of an application", &runBuildCommand);
        add<IdentitiesOptions>(
            "identities", "List the identities that can sign", &runIdentitiesCommand);
        add<ShipOptions>("ship", "Take an application all the way to an image for distribution",
            &runShipCommand);
        add<SignOptions>("sign", "Sign an application or a disk image", &runSignCommand);
        add<CredentialsOptions>("credentials", "Store or verify credentials for the notary service",
            &runCredentialsCommand);
        add<NotarizeOptions>(
            "notarize", "Have an application or a disk image notarized", &runNotarizeCommand);
        add<StapleOptions>(
            "staple", "Attach its ticket to an application or a disk image", &runStapleCommand);
        add<InspectOptions>(
            "inspect", "Tell whether an application is ready for distribution", &runInspectCommand);
        add<VerifyOptions>("verify", "Examine a disk image, and name remedies", &runVerifyCommand);
    }

    /// Returns the exit status.
    int runParsed() const
    {
        const auto parsed =
            std::ranges::find_if(m_rows, [](const Row& row) { return row.command->parsed(); });
        return parsed->run();
    }

private:
    struct Row {
        const CLI::App* command;
        std::function<int()> run;
    };

    template <class Options>
    void add(const char* name, const char* text, int (*run)(const Options&, const CommandHost&))
    {
        const auto options = std::make_shared<Options>();
        CLI::App* const command = m_program.add_subcommand(name, text);
        options->addTo(*command);
        m_rows.push_back({command, [this, options, run] { return run(*options, m_host); }});
    }

    CLI::App& m_program;
    const CommandHost& m_host;
    std::vector<Row> m_rows;
};

} // namespace

int runVandor(const QStringList& arguments, const CommandHost& host)
{
    CLI::App program("Packages Mac applications into styled disk images.", "vandor");
    program.set_version_flag("--version", "vandor " VANDOR_VERSION);
    program.require_subcommand(0, 1); // none is found out below: an unknown one is told by name
    program.failure_message(&mistakeText);
    Commands commands(program, host);

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
        if (!isHelp && arguments.contains("--json"_L1))
            reportMistake(program, ended, host);
        return isHelp ? ExitStatus::done : ExitStatus::misused;
    }
    return commands.runParsed();
}
