#pragma once

#include "notary/Clock.h"
#include "notary/HttpClient.h"

#include <filesystem>

namespace tools {

/// What a run of notarytool has around it; tests have their own.
struct NotaryHost {
    notary::Clock& clock;
    notary::HttpClient client{};
    std::filesystem::path folder; // for profiles and submissions; made where it is missing
};

} // namespace tools
