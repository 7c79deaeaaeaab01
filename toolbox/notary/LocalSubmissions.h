#pragma once

#include "notary/Clock.h"
#include "notary/Service.h"
#include "notary/SubmissionStore.h"

namespace notary {

/// What this host's own authority was asked to judge. It answers at once.
class LocalSubmissions final : public Service {
public:
    /// Borrows clock and store.
    LocalSubmissions(const Clock& clock, const SubmissionStore& store, std::string profile);

    Submission submit(const std::filesystem::path& file, std::span<const std::string> webhooks,
        const Listener& listener) override;
    Submission submission(const std::string& id) override;
    std::vector<Submission> history() override;
    std::optional<std::string> log(const std::string& id) override { return m_store.log(id); }
    bool isLocal() const override { return true; }

private:
    const Clock& m_clock;
    const SubmissionStore& m_store;
    std::string m_profile;
};

} // namespace notary
