#pragma once

#include "notary/Submission.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace notary {

/// Judges files. All throw what their own way of doing so throws.
class Service {
public:
    /// What a caller hears while a file is handed in.
    struct Listener {
        std::function<void(const std::string& id)> received; // the id holds from here on
        std::function<void(uint64_t sent, uint64_t total)> sent; // bytes
    };

    virtual ~Service() = default;

    /// Returns when the service has the whole file. A file that the user handed in before and that
    /// has no verdict yet goes on as it was.
    virtual Submission submit(const std::filesystem::path& file,
        std::span<const std::string> webhooks, const Listener& listener) = 0;
    virtual Submission submission(const std::string& id) = 0;
    /// The newest first.
    virtual std::vector<Submission> history() = 0;
    /// The developer log, JSON. None while there isn't one.
    virtual std::optional<std::string> log(const std::string& id) = 0;
    /// Whether it is this host's own, which nobody else believes.
    virtual bool isLocal() const = 0;
};

} // namespace notary
