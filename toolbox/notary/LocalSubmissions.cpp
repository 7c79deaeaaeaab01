#include "notary/LocalSubmissions.h"

#include "bytes/File.h"
#include "codesign/Digest.h"
#include "notary/Encoding.h"
#include "notary/LocalService.h"
#include "notary/ServiceError.h"

namespace notary {

LocalSubmissions::LocalSubmissions(
    const Clock& clock, const SubmissionStore& store, std::string profile)
    : m_clock(clock)
    , m_store(store)
    , m_profile(std::move(profile))
{ }

Submission LocalSubmissions::submit(
    const std::filesystem::path& path, std::span<const std::string>, const Listener& listener)
{
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    const uint64_t size = file.size();
    const std::string name = path.filename().string();
    SubmissionRecord record{
        .submission = {.id = newUuid(), .name = name, .createdDate = serviceDate(m_clock.now())},
        .profile = m_profile,
        .sha256 = codesign::hexOf(digestOf(codesign::HashType::sha256, file, size)),
        .uploaded = true};
    const std::string& id = record.submission.id;
    listener.received(id);
    const Verdict verdict = judge(path, id, name);
    record.submission.status = verdict.accepted ? accepted : invalid;
    m_store.saveLog(id, verdict.log);
    m_store.save(record);
    listener.sent(size, size);
    return record.submission;
}

Submission LocalSubmissions::submission(const std::string& id)
{
    const auto record = m_store.find(id);
    if (!record || record->profile != m_profile)
        throw ServiceError("The local authority knows no submission of the id " + id);
    return record->submission;
}

std::vector<Submission> LocalSubmissions::history()
{
    std::vector<Submission> found;
    for (const SubmissionRecord& record : m_store.all(m_profile))
        found.push_back(record.submission);
    return found;
}

} // namespace notary
