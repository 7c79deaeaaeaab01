#pragma once

#include <filesystem>
#include <string>

namespace notary {

/// What the local authority thinks of a file that was handed in.
struct Verdict {
    bool accepted = false;
    std::string log; // the developer log, JSON; says that it is the local authority's
};

/// Judges `file`, a zip archive or a UDIF image, by the rules of the public service, and issues a
/// ticket for all code in it when it passes. `name` is what the log calls it. The tickets are this
/// host's own: no Mac honours them. Throws bytes::FormatError when it isn't a file of such a kind,
/// and std::system_error.
Verdict judge(
    const std::filesystem::path& file, const std::string& submissionId, const std::string& name);

} // namespace notary
