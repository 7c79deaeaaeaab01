#pragma once

#include "../codesign/SampleBundle.h"
#include "../tools/ToolRun.h"
#include "codesign/CodeDirectory.h"
#include "notary/LocalService.h"

#include <filesystem>
#include <string>

/// How a test wants its code signed.
struct Signing {
    bool adhoc = false;
    bool stamped = true;
    uint32_t flags = codesign::flagRuntime;
    std::string entitlements{}; // a property list
};

/// A copy of the sample application, and a state folder whose identity all tests of the program
/// share; tickets of earlier tests are gone from it.
class NotaryBench {
public:
    NotaryBench();

    std::filesystem::path folder() const { return sample.folder(); }
    std::filesystem::path app() const { return sample.app(); }
    static std::filesystem::path state();

    void sign(const std::filesystem::path& path, const Signing& how = {}) const;
    /// The application in an archive.
    std::filesystem::path zip() const;
    /// The application in a compressed image.
    std::filesystem::path image() const;
    /// Hands the archive in for what is said to be the submission "id".
    static notary::Verdict judge(const std::filesystem::path& file);

    SampleBundle sample;
};
