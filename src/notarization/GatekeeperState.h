#pragma once

#include <QString>

#include <utility>

/// What Gatekeeper says of an image. `text` is the reason for `rejected` and empty otherwise.
struct GatekeeperState {
    enum class Case {
        rejected,
        unknown, // not assessed yet
        verifying,
        accepted,
    };

    Case which = Case::unknown;
    QString text;

    static GatekeeperState rejected(QString reason) { return {Case::rejected, std::move(reason)}; }
    static GatekeeperState unknown() { return {}; }
    static GatekeeperState verifying() { return {Case::verifying, {}}; }
    static GatekeeperState accepted() { return {Case::accepted, {}}; }

    bool operator==(const GatekeeperState&) const = default;
};
