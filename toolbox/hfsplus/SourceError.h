#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace hfsplus {

/// Files or folders of the host that can't go into a volume, each with the reason.
class SourceError : public std::runtime_error {
public:
    struct Problem {
        std::filesystem::path path;
        std::string reason; // a phrase for the user, without the path
    };

    SourceError(std::filesystem::path path, std::string reason);
    /// `problems` must not be empty. what() is the first, as "PATH: REASON".
    explicit SourceError(std::vector<Problem> problems);

    const std::vector<Problem>& problems() const { return m_problems; }

private:
    std::vector<Problem> m_problems;
};

/// The host's own text for `error` (ENOENT ...).
std::string reasonFor(int error);

} // namespace hfsplus
