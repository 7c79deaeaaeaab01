#pragma once

#include "keychain/PrivateFolder.h"
#include "notary/Submission.h"

#include <filesystem>
#include <optional>
#include <vector>

namespace notary {

/// What this host knows about a submission.
struct SubmissionRecord {
    Submission submission;
    std::string profile;
    std::string sha256; // of the file, in hexadecimal
    bool uploaded = false;

    friend bool operator==(const SubmissionRecord&, const SubmissionRecord&) = default;
};

/// Remembers submissions from the moment they have an id, with their logs, so that a run that was
/// cut short goes on where it stopped. A file each, in a folder that is the user's alone.
class SubmissionStore {
public:
    /// `folder` is made where it is missing, not those above it.
    explicit SubmissionStore(const std::filesystem::path& folder);

    void save(const SubmissionRecord& record) const;
    std::optional<SubmissionRecord> find(const std::string& id) const;
    /// The newest of the same file under the same profile that was uploaded and has no verdict yet.
    /// Those from before `since`, in the service's form, have no chance of one any more.
    std::optional<SubmissionRecord> unfinished(
        const std::string& profile, const std::string& sha256, const std::string& since) const;
    /// The newest first.
    std::vector<SubmissionRecord> all(const std::string& profile) const;

    void saveLog(const std::string& id, const std::string& log) const;
    std::optional<std::string> log(const std::string& id) const;
    std::filesystem::path logPath(const std::string& id) const;

private:
    keychain::PrivateFolder m_folder;
};

} // namespace notary
