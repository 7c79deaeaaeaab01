#pragma once

#include "notary/CredentialProfiles.h"
#include "notary/Service.h"
#include "notary/SubmissionStore.h"
#include "notary/Uploader.h"

namespace notary {

/// The service that Macs believe, over its public interface. Submissions are remembered as soon as
/// they have an id, and their logs.
class PublicService final : public Service {
public:
    /// Borrows all but the profile. One without a name is remembered by its key.
    PublicService(const HttpClient& client, Clock& clock, const SubmissionStore& store,
        const CredentialProfile& profile, const UploadSizes& sizes = {});

    Submission submit(const std::filesystem::path& file, std::span<const std::string> webhooks,
        const Listener& listener) override;
    Submission submission(const std::string& id) override;
    std::vector<Submission> history() override { return m_api.history(); }
    std::optional<std::string> log(const std::string& id) override;
    bool isLocal() const override { return false; }

private:
    std::optional<Submission> goOn(const std::string& sha256);
    void remember(const Submission& submission) const;

    NotaryApi m_api;
    Uploader m_uploader;
    Clock& m_clock;
    const SubmissionStore& m_store;
    std::string m_profile;
};

} // namespace notary
