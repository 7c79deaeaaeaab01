#include "notary/PublicService.h"

#include "bytes/File.h"
#include "codesign/Digest.h"
#include "notary/Encoding.h"
#include "notary/ServiceError.h"

namespace notary {

namespace {

/// One that has no verdict after such a time is handed in anew.
constexpr std::chrono::hours longestSubmission{24};

} // namespace

PublicService::PublicService(const HttpClient& client, Clock& clock, const SubmissionStore& store,
    const CredentialProfile& profile, const UploadSizes& sizes)
    : m_api(client, clock, profile.key, profile.service)
    , m_uploader(client, clock, profile.service, sizes)
    , m_clock(clock)
    , m_store(store)
    , m_profile(profile.name.empty() ? "key " + profile.key.keyId : profile.name)
{ }

Submission PublicService::submit(const std::filesystem::path& path,
    std::span<const std::string> webhooks, const Listener& listener)
{
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    const uint64_t size = file.size();
    const std::string sha256 = codesign::hexOf(digestOf(codesign::HashType::sha256, file, size));
    if (auto earlier = goOn(sha256)) {
        listener.received(earlier->id);
        listener.sent(size, size);
        return *earlier;
    }
    const std::string name = path.filename().string();
    const auto created = m_api.submit(name, sha256, webhooks);
    SubmissionRecord record{
        .submission = {.id = created.id, .name = name, .createdDate = serviceDate(m_clock.now())},
        .profile = m_profile,
        .sha256 = sha256};
    m_store.save(record);
    listener.received(created.id);
    m_uploader.upload(
        file, sha256, created.upload, [&](uint64_t sent) { listener.sent(sent, size); });
    record.uploaded = true;
    m_store.save(record);
    return record.submission;
}

/// The earlier submission of this file, when the service still knows it as this user's.
std::optional<Submission> PublicService::goOn(const std::string& sha256)
try {
    const auto record =
        m_store.unfinished(m_profile, sha256, serviceDate(m_clock.now() - longestSubmission));
    if (!record)
        return std::nullopt;
    return m_api.submission(record->submission.id);
} catch (const ServiceError& error) {
    if (mayPass(error.status()))
        throw;
    return std::nullopt;
}

Submission PublicService::submission(const std::string& id)
{
    const Submission found = m_api.submission(id, {.tries = 1});
    remember(found);
    return found;
}

std::optional<std::string> PublicService::log(const std::string& id)
{
    auto text = m_api.log(id);
    if (text)
        m_store.saveLog(id, *text);
    return text;
}

void PublicService::remember(const Submission& submission) const
{
    auto record = m_store.find(submission.id);
    if (!record || record->submission == submission)
        return;
    record->submission = submission;
    m_store.save(*record);
}

} // namespace notary
