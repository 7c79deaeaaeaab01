#include "notary/SubmissionStore.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "notary/Encoding.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace notary {

using nlohmann::json;

namespace {

constexpr std::string_view recordSuffix = ".json";
constexpr std::string_view logSuffix = ".log.json";
/// Of a log: an application with a hundred thousand files has one of some twenty megabytes.
constexpr uint64_t longestLog = 64 << 20;

SubmissionRecord recordFrom(const std::string& text)
try {
    const json fields = json::parse(text);
    SubmissionRecord record;
    record.submission = {
        fields.at("id"), fields.at("name"), fields.at("createdDate"), fields.at("status")};
    record.profile = fields.at("profile");
    record.sha256 = fields.at("sha256");
    record.uploaded = fields.at("uploaded");
    return record;
} catch (const json::exception& error) {
    throw bytes::FormatError(std::string("a stored submission is damaged: ") + error.what());
}

} // namespace

SubmissionStore::SubmissionStore(const std::filesystem::path& folder)
    : m_folder(folder)
{ }

void SubmissionStore::save(const SubmissionRecord& record) const
{
    const Submission& submission = record.submission;
    const json fields{{"id", submission.id}, {"name", submission.name},
        {"createdDate", submission.createdDate}, {"status", submission.status},
        {"profile", record.profile}, {"sha256", record.sha256}, {"uploaded", record.uploaded}};
    m_folder.write(submission.id + std::string(recordSuffix),
        fields.dump(1, ' ', false, json::error_handler_t::replace));
}

std::optional<SubmissionRecord> SubmissionStore::find(const std::string& id) const
{
    const std::string name = id + std::string(recordSuffix);
    if (!isUuid(id) || !m_folder.has(name))
        return std::nullopt;
    return recordFrom(m_folder.read(name));
}

std::optional<SubmissionRecord> SubmissionStore::unfinished(
    const std::string& profile, const std::string& sha256, const std::string& since) const
{
    for (SubmissionRecord& record : all(profile))
        if (record.sha256 == sha256 && record.uploaded && !record.submission.isDecided()
            && record.submission.createdDate >= since)
            return std::move(record);
    return std::nullopt;
}

std::vector<SubmissionRecord> SubmissionStore::all(const std::string& profile) const
{
    std::vector<SubmissionRecord> found;
    for (const std::string& name : m_folder.names()) {
        if (!name.ends_with(recordSuffix))
            continue;
        auto record = find(name.substr(0, name.size() - recordSuffix.size())); // no log is a UUID
        if (record && record->profile == profile)
            found.push_back(*std::move(record));
    }
    std::ranges::sort(found, std::ranges::greater(),
        [](const SubmissionRecord& record) { return record.submission.createdDate; });
    return found;
}

void SubmissionStore::saveLog(const std::string& id, const std::string& log) const
{
    m_folder.write(id + std::string(logSuffix), log);
}

std::optional<std::string> SubmissionStore::log(const std::string& id) const
{
    if (!isUuid(id) || !m_folder.has(id + std::string(logSuffix)))
        return std::nullopt;
    const auto file = bytes::File::open(logPath(id), bytes::File::Mode::read);
    if (file.size() > longestLog)
        throw bytes::FormatError(logPath(id).string() + " is too long");
    std::string text(file.size(), '\0');
    file.readAt(0, std::as_writable_bytes(std::span(text)));
    return text;
}

std::filesystem::path SubmissionStore::logPath(const std::string& id) const
{
    return m_folder.path() / (id + std::string(logSuffix));
}

} // namespace notary
