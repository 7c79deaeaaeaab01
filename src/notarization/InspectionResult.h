#pragma once

#include <QString>

#include <optional>

/// What an inspection found. The checks run in the order of the fields, each only if the one before
/// passed.
struct InspectionResult {
    bool isSigned = false; // with a secure timestamp
    bool isNotarized = false;
    bool isStapled = false;
    std::optional<QString> failureReason; // of the first check that failed
    QString logs;

    bool operator==(const InspectionResult&) const = default;
};
