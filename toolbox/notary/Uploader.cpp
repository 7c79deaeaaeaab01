#include "notary/Uploader.h"

#include "codesign/Digest.h"
#include "notary/Encoding.h"
#include "notary/ServiceError.h"

#include <algorithm>

namespace notary {

namespace {

constexpr const char* region = "us-west-2";

std::string bucketHost(const std::string& bucket)
{
    return bucket + ".s3." + region + ".amazonaws.com";
}

/// The text of the first element `name`, "" where there is none; the storage's answers are flat.
std::string elementText(const std::string& xml, const std::string& name)
{
    const std::string open = "<" + name + ">";
    const std::size_t start = xml.find(open);
    const std::size_t end = xml.find("</" + name + ">", start);
    if (start == std::string::npos || end == std::string::npos)
        return {};
    return xml.substr(start + open.size(), end - start - open.size());
}

int64_t secondsOf(Clock::Time time)
{
    return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
}

/// By which the storage knows a part that it has.
std::string tagOf(const HttpResponse& response)
{
    const auto tag = response.headers.find("etag");
    if (tag == response.headers.end())
        throw ServiceError("The storage's answer isn't understood: no tag for a part");
    return tag->second;
}

std::string hashOf(const std::string& text)
{
    return codesign::hexOf(digestOf(codesign::HashType::sha256, std::as_bytes(std::span(text))));
}

} // namespace

Uploader::Uploader(
    const HttpClient& client, Clock& clock, const ServicePlace& place, const UploadSizes& sizes)
    : m_client(client)
    , m_clock(clock)
    , m_service(place)
    , m_sizes(sizes)
{ }

void Uploader::upload(const bytes::ByteSource& file, const std::string& sha256,
    const UploadPlace& place, const Progress& progress) const
{
    const Target target = targetFor(place);
    if (file.size() > m_sizes.largestWhole)
        return uploadParts(file, target, progress);
    send(target, {.method = "PUT", .bodyHash = sha256},
        {.source = &file, .length = file.size(), .progress = progress});
}

Uploader::Target Uploader::targetFor(const UploadPlace& place) const
{
    RequestSigner signer(place.credentials, region, "s3");
    if (m_service.isPublic()) {
        const std::string host = bucketHost(place.bucket);
        return {"https://" + host, host, "/" + place.object, std::move(signer)};
    }
    const std::size_t hostStart = m_service.base.find("://") + 3;
    return {m_service.base, m_service.base.substr(hostStart),
        "/" + place.bucket + "/" + place.object, std::move(signer)};
}

HttpResponse Uploader::send(const Target& target, const Call& call, const HttpUpload& part) const
{
    const auto request = [&] {
        const RequestSigner::Subject subject{.method = call.method,
            .path = target.path,
            .query = call.query,
            .headers = {{"host", target.host}},
            .bodyHash = call.bodyHash};
        const std::string query = RequestSigner::queryText(call.query);
        return HttpRequest{.method = call.method,
            .url = target.root + percentEncoded(target.path, true)
                + (query.empty() ? "" : "?" + query),
            .headers = target.signer.signedHeaders(subject, secondsOf(m_clock.now())),
            .body = call.body,
            .upload = part};
    };
    HttpResponse response = sendWithRetries(m_client, m_clock, request);
    if (!response.isSuccess())
        throw ServiceError(response);
    return response;
}

void Uploader::uploadParts(
    const bytes::ByteSource& file, const Target& target, const Progress& progress) const
{
    const Call begin{.method = "POST", .query = {{"uploads", ""}}, .bodyHash = hashOf("")};
    const std::string uploadId = elementText(send(target, begin).body, "UploadId");
    if (uploadId.empty())
        throw ServiceError("The storage's answer isn't understood: no upload id");
    std::string parts;
    int number = 0;
    for (uint64_t at = 0; at < file.size(); at += m_sizes.part) {
        const bytes::SourceRange part(file, at, std::min(m_sizes.part, file.size() - at));
        const Call call{.method = "PUT",
            .query = {{"partNumber", std::to_string(++number)}, {"uploadId", uploadId}},
            .bodyHash = codesign::hexOf(digestOf(codesign::HashType::sha256, part, part.size()))};
        const auto partProgress = [&](uint64_t sent) {
            if (progress)
                progress(at + sent);
        };
        const HttpUpload upload{.source = &part, .length = part.size(), .progress = partProgress};
        parts += "<Part><PartNumber>" + std::to_string(number) + "</PartNumber><ETag>"
            + tagOf(send(target, call, upload)) + "</ETag></Part>";
    }
    Call end{.method = "POST", .query = {{"uploadId", uploadId}}};
    end.body = "<CompleteMultipartUpload>" + parts + "</CompleteMultipartUpload>";
    end.bodyHash = hashOf(end.body);
    const HttpResponse done = send(target, end);
    // This one call may fail after it began to answer with success.
    if (done.body.find("<Error>") != std::string::npos)
        throw ServiceError("The storage refused the parts: " + elementText(done.body, "Code"));
}

} // namespace notary
