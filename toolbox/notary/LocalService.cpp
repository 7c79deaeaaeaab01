#include "notary/LocalService.h"

#include "bytes/FormatError.h"
#include "codesign/Digest.h"
#include "keychain/IdentityStore.h"
#include "notary/Encoding.h"
#include "notary/SubmissionContents.h"
#include "notary/TicketAuthority.h"
#include "udif/Udif.h"
#include "volumes/StateFolder.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace notary {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

namespace {

constexpr std::string_view packageMark = "xar!";
constexpr int invalidCode = 4000;

void requireKind(const bytes::ByteSource& file, const std::string& name)
{
    if (SubmissionContents::isContainer(file))
        return;
    const auto head = file.read(0, std::min<uint64_t>(file.size(), packageMark.size()));
    if (std::ranges::equal(head, std::as_bytes(std::span(packageMark))))
        throw bytes::FormatError(
            name + " is an installer package, which the local stand-in authority can't judge");
    throw bytes::FormatError(name
        + " must be a zip archive (.zip), flat installer package (.pkg), or UDIF disk image "
          "(.dmg)");
}

/// The outermost first, as the hash of the whole leads a ticket.
void sortByDepth(std::vector<InspectedCode>& code)
{
    std::ranges::stable_sort(
        code, {}, [](const InspectedCode& one) { return std::ranges::count(one.path, '/'); });
}

Inspection inspect(
    const fs::path& file, const std::string& name, const keychain::TrustedRoots& roots)
{
    Inspection findings;
    CodeInspector inspector(roots, findings);
    SubmissionContents(inspector).inspect(file, name);
    if (findings.code.empty() && !findings.hasErrors())
        inspector.mention({.path = name, .message = "The archive contains no code."});
    sortByDepth(findings.code);
    return findings;
}

void issueTicket(const fs::path& stateFolder, const std::vector<InspectedCode>& code)
{
    std::vector<TicketHash> hashes;
    for (const InspectedCode& one : code) {
        if (std::ranges::find(hashes, one.hash) == hashes.end())
            hashes.push_back(one.hash);
    }
    const TicketStore store(stateFolder);
    TicketAuthority(store).issue(store, std::move(hashes));
}

Json orNull(const std::string& text)
{
    return text.empty() ? Json() : Json(text);
}

Json issuesOf(const Inspection& findings)
{
    if (findings.issues.empty())
        return {};
    Json all = Json::array();
    for (const InspectionIssue& issue : findings.issues) {
        Json one{{"severity", issue.isError ? "error" : "warning"}, {"code", nullptr},
            {"path", issue.path}, {"message", issue.message}, {"docUrl", nullptr},
            {"architecture", orNull(issue.architecture)}};
        if (!issue.detail.empty())
            one["detail"] = issue.detail;
        all.push_back(std::move(one));
    }
    return all;
}

Json ticketContentsOf(const Inspection& findings)
{
    if (findings.hasErrors())
        return {};
    Json all = Json::array();
    for (const InspectedCode& code : findings.code) {
        Json one{{"path", code.path}, {"digestAlgorithm", code.hash.isSha1() ? "SHA-1" : "SHA-256"},
            {"cdhash", code.hash.hex()}};
        if (!code.architecture.empty())
            one["arch"] = code.architecture;
        all.push_back(std::move(one));
    }
    return all;
}

} // namespace

Verdict judge(const fs::path& path, const std::string& submissionId, const std::string& name)
{
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    requireKind(file, name);
    const fs::path state = volumes::StateFolder::ofUser().root();
    const auto roots = keychain::IdentityStore(state).trustedRoots();
    const Inspection findings = inspect(path, name, roots);
    const bool accepted = !findings.hasErrors();
    if (accepted)
        issueTicket(state, findings.code);

    const auto now = keychain::now().time_since_epoch().count();
    const Json log{{"logFormatVersion", 1}, {"authority", "local stand-in authority, not Apple"},
        {"jobId", submissionId}, {"status", accepted ? "Accepted" : "Invalid"},
        {"statusSummary",
            accepted ? "Ready for distribution" : "Archive contains critical validation errors"},
        {"statusCode", accepted ? 0 : invalidCode}, {"archiveFilename", name},
        {"uploadDate", timeText(now, "%Y-%m-%dT%H:%M:%SZ")},
        {"sha256", codesign::hexOf(digestOf(codesign::HashType::sha256, file, file.size()))},
        {"ticketContents", ticketContentsOf(findings)}, {"issues", issuesOf(findings)}};
    return {accepted, log.dump(2, ' ', false, Json::error_handler_t::replace)};
}

} // namespace notary
