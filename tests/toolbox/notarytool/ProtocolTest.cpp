#include "FakeService.h"

#include "bytes/FormatError.h"
#include "codesign/Digest.h"
#include "notary/CredentialProfiles.h"
#include "notary/Encoding.h"
#include "notary/Jwt.h"
#include "notary/ServiceError.h"
#include "notary/Uploader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using nlohmann::json;
using testing::HasSubstr;

namespace {

std::string textOf(const std::vector<std::byte>& data)
{
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

std::string hashOf(const std::string& text)
{
    return codesign::hexOf(digestOf(codesign::HashType::sha256, std::as_bytes(std::span(text))));
}

} // namespace

// The published example of the signature's documentation.
TEST(RequestSigner, AgreesWithThePublishedExample)
{
    const notary::RequestSigner signer(
        {"AKIDEXAMPLE", "wJalrXUtnFEMI/K7MDENG+bPxRfiCYEXAMPLEKEY", ""}, "us-east-1", "service");
    EXPECT_EQ(signer.authorization({.method = "GET",
                                       .path = "/",
                                       .headers = {{"host", "example.amazonaws.com"},
                                           {"x-amz-date", "20150830T123600Z"}},
                                       .bodyHash = hashOf("")},
                  1440938160),
        "AWS4-HMAC-SHA256 Credential=AKIDEXAMPLE/20150830/us-east-1/service/aws4_request, "
        "SignedHeaders=host;x-amz-date, "
        "Signature=5fa00fa31553b73ebf1942676e86291e8372ff2a2260956d9b8aae1d763fbf31");
}

TEST(Encoding, OfPathsAndBytes)
{
    EXPECT_EQ(notary::percentEncoded("a b/ü~", true), "a%20b/%C3%BC~");
    EXPECT_EQ(notary::percentEncoded("a/b", false), "a%2Fb");
    EXPECT_EQ(notary::base64Url("\xfb\xff"
                                "a"),
        "-_9h");
    EXPECT_EQ(notary::base64Url("ab"), "YWI");
    EXPECT_TRUE(notary::isUuid(notary::newUuid()));
    EXPECT_FALSE(notary::isUuid("../../../../../../../../../etc/pass"));
}

TEST(Token, IsWhatTheServiceReads)
{
    const keychain::PrivateKey key(keychain::KeyOwner(EVP_EC_gen("P-256")));
    const keychain::PrivateKey other(keychain::KeyOwner(EVP_EC_gen("P-256")));
    const std::string token = notary::makeToken({"ID", "ISSUER", key.pem()}, HandClock::start);
    EXPECT_TRUE(isSignedBy(key, token));
    EXPECT_FALSE(isSignedBy(other, token));
    const std::size_t dot = token.find('.');
    EXPECT_EQ(json::parse(textOf(fromBase64Url(token.substr(0, dot)))),
        (json{{"alg", "ES256"}, {"kid", "ID"}, {"typ", "JWT"}}));
    EXPECT_EQ(json::parse(textOf(fromBase64Url(token.substr(dot + 1, token.rfind('.') - dot - 1)))),
        (json{{"iss", "ISSUER"}, {"iat", 1'700'000'000}, {"exp", 1'700'000'900},
            {"aud", "appstoreconnect-v1"}}));

    const std::string otherCurve =
        keychain::PrivateKey(keychain::KeyOwner(EVP_EC_gen("P-384"))).pem();
    for (const std::string& pem :
        {keychain::PrivateKey::generate().pem(), otherCurve, std::string("no key"), std::string()})
        EXPECT_THROW(notary::makeToken({"ID", "", pem}, HandClock::start), bytes::FormatError);
}

TEST(CredentialProfiles, AreTheirOwnersAlone)
{
    const ToolTest test;
    const notary::CredentialProfiles profiles(test.path("profiles"));
    EXPECT_EQ(profiles.find("local")->kind, notary::CredentialProfile::Kind::local);
    EXPECT_FALSE(profiles.find("../local"));
    const notary::CredentialProfile profile{.name = "../a \"name\"",
        .kind = notary::CredentialProfile::Kind::apiKey,
        .key = {"ID", "ISSUER", "PEM"},
        .service = {"https://example.com"}};
    profiles.store(profile);
    EXPECT_EQ(profiles.find(profile.name), profile);
    EXPECT_THROW(profiles.store({.name = "local"}), std::invalid_argument);
    for (const auto& entry : std::filesystem::directory_iterator(test.path("profiles"))) {
        struct stat status { };
        ::stat(entry.path().c_str(), &status);
        EXPECT_EQ(status.st_mode & 0777, 0600U);
        writeFile(entry.path(), "{}");
    }
    EXPECT_THROW(profiles.find(profile.name), bytes::FormatError);
}

TEST(HttpClient, SendsSecretsToSafePlacesOnly)
{
    for (const char* url : {"https://example.com/a", "http://127.0.0.1:1/", "http://[::1]/"})
        EXPECT_TRUE(notary::isSafeUrl(url)) << url;
    for (const char* url : {"http://example.com", "http://127.0.0.1.example.com/",
             "ftp://localhost", "file:///etc/passwd", "http://localhost@example.com/", ""})
        EXPECT_FALSE(notary::isSafeUrl(url)) << url;
    EXPECT_THROW(notary::HttpClient().send({.url = "http://example.com/"}), notary::NetworkError);
}

TEST(Uploader, SendsALargeFileInParts)
{
    std::vector<std::string> calls;
    std::map<std::string, std::string> parts;
    bool failOnce = true;
    HttpServer server(HttpServer::RawAnswer([&](const HttpServer::Request& request) {
        const std::string call = request.head.substr(0, request.head.find(" HTTP/"));
        const std::string body = textOf(request.body);
        EXPECT_EQ(headerIn(request.head, "x-amz-content-sha256"), hashOf(body));
        EXPECT_EQ(headerIn(request.head, "x-amz-security-token"), "token");
        calls.push_back(call);
        if (call.ends_with("?uploads="))
            return httpReply(200, "<a><UploadId>an id</UploadId></a>");
        if (call.starts_with("POST"))
            return httpReply(200, calls.size() > 9 ? "<Error><Code>Slow</Code></Error>" : body);
        if (call.find("partNumber=2") != std::string::npos && std::exchange(failOnce, false))
            return httpReply(503, "");
        parts[call] = body;
        return httpReply(200, "", "ETag: \"" + hashOf(body).substr(0, 4) + "\"\r\n");
    }));
    HandClock clock;
    const notary::HttpClient client;
    const notary::Uploader uploader(
        client, clock, {server.url("")}, {.largestWhole = 20, .part = 10});
    const std::string content = "0123456789abcdefghijxyz";
    bytes::MemoryDevice file(std::vector<std::byte>(content.size()));
    file.writeAt(0, std::as_bytes(std::span(content)));
    uint64_t sent = 0;
    const notary::UploadPlace place{"bucket", "an object", {"id", "secret", "token"}};
    uploader.upload(file, hashOf(content), place, [&](uint64_t count) { sent = count; });
    EXPECT_EQ(sent, content.size());
    EXPECT_EQ(calls.front(), "POST /bucket/an%20object?uploads=");
    EXPECT_EQ(calls.back(), "POST /bucket/an%20object?uploadId=an%20id");
    std::vector<std::string> bodies;
    for (const auto& [call, body] : parts)
        bodies.push_back(body);
    EXPECT_EQ(bodies, (std::vector<std::string>{"0123456789", "abcdefghij", "xyz"}));
    EXPECT_EQ(calls.size(), 6U) << "one part twice";
    EXPECT_THROW(uploader.upload(file, hashOf(content), place, {}), notary::ServiceError)
        << "the storage may refuse with a success status";
}
