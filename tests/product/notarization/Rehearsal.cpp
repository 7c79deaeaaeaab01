#include "Rehearsal.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

Rehearsal::Rehearsal()
{
    fs::copy(SAMPLE_APP, app(), fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    fs::create_directory(image().parent_path());
    EXPECT_EQ(run({tool("/usr/bin/security"), "create-identity", "Jane Doe", "ABCDE12345"}), 0)
        << errors;
}

std::vector<std::string> Rehearsal::shipping() const
{
    return {vandor(), "ship", app().string(), "-o", image().string(), "--identity", "Jane",
        "--profile", "local", "--json"};
}

int Rehearsal::run(const std::vector<std::string>& command)
{
    ProgramRun program(command, folder());
    const int status = program.wait();
    output = program.output();
    errors = program.errors();
    return status;
}

std::vector<nlohmann::json> Rehearsal::events() const
{
    std::vector<nlohmann::json> result;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);)
        result.push_back(nlohmann::json::parse(line));
    return result;
}

nlohmann::json Rehearsal::ledger() const
{
    const std::string text = contentOf(image().string() + ".ledger.json");
    return text.empty() ? nlohmann::json::object() : nlohmann::json::parse(text).at("steps");
}

std::size_t Rehearsal::submissions() const
{
    std::size_t count = 0;
    for (const std::string& name : namesIn(folder() / ".local/share/vandor-dmg/notary/submissions"))
        count += name.ends_with(".log.json") ? 1 : 0;
    return count;
}
