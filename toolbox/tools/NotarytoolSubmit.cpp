#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "notary/ServiceError.h"
#include "notary/WaitForVerdict.h"
#include "tools/NotarytoolVerbs.h"
#include "tools/Text.h"
#include "volumes/StateFolder.h"

#include <algorithm>
#include <ostream>

namespace tools {

namespace fs = std::filesystem;

namespace {

/// A log can be late by some seconds.
constexpr int logTries = 5;
constexpr std::chrono::seconds logPause{2};

bool startsWith(const bytes::File& file, uint64_t offset, std::string_view magic)
{
    if (file.size() < offset + magic.size())
        return false;
    return std::ranges::equal(file.read(offset, magic.size()), std::as_bytes(std::span(magic)));
}

/// Only what the service takes, told by its content.
void checkKind(const fs::path& path)
{
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    const uint64_t size = file.size();
    if (startsWith(file, 0, "PK\x03\x04") || startsWith(file, 0, "xar!")
        || (size >= 512 && startsWith(file, size - 512, "koly")))
        return;
    throw bytes::FormatError(path.filename().string()
        + " must be a zip archive (.zip), flat installer package (.pkg), or UDIF disk image "
          "(.dmg)");
}

/// Where the log of a decided submission is kept, "" when the service doesn't give it. A verdict
/// holds without one.
fs::path keepLog(const ChosenService& service, notary::Clock& clock, const std::string& id)
try {
    for (int left = logTries; left > 0; --left) {
        if (service->log(id))
            return service.store().logPath(id);
        if (left > 1)
            clock.wait(logPause);
    }
    return {};
} catch (const notary::NetworkError&) {
    return {};
} catch (const notary::ServiceError&) {
    return {};
}

void waitAndReport(const NotarySession& session, const ChosenService& service,
    notary::Transcript& transcript, const std::string& id)
{
    notary::WaitLimits limits;
    if (const auto timeout = session.arguments.value("--timeout"))
        limits.timeout = durationFrom(*timeout);
    transcript.waiting();
    const auto heard = [&](const notary::Submission& now) { transcript.polled(now.status); };
    const auto result = waitForVerdict(*service, session.host.clock, id, limits, heard);
    if (!result.isDecided())
        throw std::runtime_error("Timeout of " + std::to_string(limits.timeout.count())
            + " second(s) was reached before processing completed.\n  id: " + id
            + "\n  status: " + result.status);
    transcript.decided(result, keepLog(service, session.host.clock, id));
}

fs::path hostPath(const std::string& given)
{
    const auto state = volumes::StateFolder::ofUser(volumes::StateFolder::Making::whenNeeded);
    return state.hostPath(fs::absolute(given));
}

/// For the verbs that speak of one submission.
std::string idFrom(const NotarySession& session)
{
    if (session.arguments.operands().empty())
        throw UsageError("Missing expected argument '<submission-id>'");
    return session.arguments.operands().front();
}

} // namespace

void submitFile(NotarySession& session)
{
    const Arguments& arguments = session.arguments;
    const fs::path path = hostPath(arguments.onlyOperand());
    const ChosenService service(session);
    notary::Transcript transcript(session.out, session.format(), service->isLocal());
    checkKind(path);
    std::vector<std::string> webhooks;
    if (const auto target = arguments.value("--webhook"))
        webhooks.push_back(*target);

    transcript.checking(path.filename().string());
    const auto submission = service->submit(path, webhooks,
        {.received = [&](const std::string& id) { transcript.idReceived(id); },
            .sent = [&](uint64_t count, uint64_t total) { transcript.sent(count, total); }});
    transcript.uploaded(submission.id, fs::absolute(arguments.onlyOperand()));
    if (arguments.has("--wait"))
        waitAndReport(session, service, transcript, submission.id);
}

void waitForSubmission(NotarySession& session)
{
    const std::string id = idFrom(session);
    const ChosenService service(session);
    notary::Transcript transcript(session.out, session.format(), service->isLocal());
    waitAndReport(session, service, transcript, id);
}

void notaryHistory(NotarySession& session)
{
    const ChosenService service(session);
    notary::Transcript(session.out, session.format(), service->isLocal())
        .history(service->history());
}

void submissionInfo(NotarySession& session)
{
    const std::string id = idFrom(session);
    const ChosenService service(session);
    notary::Transcript(session.out, session.format(), service->isLocal())
        .info(service->submission(id));
}

void submissionLog(NotarySession& session)
{
    const std::string id = idFrom(session);
    const ChosenService service(session);
    const auto log = service->log(id);
    if (!log)
        throw std::runtime_error("Submission log is not yet available or submissionId is invalid");
    if (session.arguments.operands().size() < 2) {
        session.out << *log << (log->ends_with('\n') ? "" : "\n");
        return;
    }
    const fs::path target = hostPath(session.arguments.operands()[1]);
    bytes::OutputFile output(target);
    output.file().writeAt(0, std::as_bytes(std::span(*log)));
    output.commit(true);
    notary::Transcript(session.out, session.format(), service->isLocal()).logSaved(id, target);
}

} // namespace tools
