#pragma once

#include "ProgramRun.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

/// A user's home with a rehearsal identity and a copy of the sample application in it.
class Rehearsal {
public:
    Rehearsal();

    std::filesystem::path folder() const { return m_folder.path(); }
    std::filesystem::path app() const { return folder() / "Hello Vandor.app"; }
    std::filesystem::path image() const { return folder() / "out" / "Hello.dmg"; }
    /// `vandor ship` of the application, with the rehearsal's identity and authority.
    std::vector<std::string> shipping() const;

    /// Runs a command and gives its exit status; `output` and `errors` are its own afterwards.
    int run(const std::vector<std::string>& command);
    /// The lines of `output`, which must be JSON.
    std::vector<nlohmann::json> events() const;
    nlohmann::json ledger() const;
    /// The local authority's own record of what was submitted.
    std::size_t submissions() const;

    static std::string tool(const char* macPath) { return TOOLBOX_DIR + std::string(macPath); }

    std::string output, errors;

private:
    TemporaryFolder m_folder;
};
