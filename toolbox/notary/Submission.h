#pragma once

#include <string>

namespace notary {

inline constexpr const char* inProgress = "In Progress";
inline constexpr const char* accepted = "Accepted";
inline constexpr const char* invalid = "Invalid";

/// A file that was handed in, as the service and its tool speak of it.
struct Submission {
    std::string id;
    std::string name; // of the file
    std::string createdDate; // "2024-01-11T01:15:11.111Z"
    std::string status = inProgress;

    bool isDecided() const { return status != inProgress; }

    friend bool operator==(const Submission&, const Submission&) = default;
};

} // namespace notary
