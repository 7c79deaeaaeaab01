#include "FakeService.h"

#include "keychain/OpenSsl.h"
#include "tools/Notarytool.h"

#include <array>
#include <gtest/gtest.h>
#include <openssl/ecdsa.h>
#include <sstream>

using keychain::Free;
using nlohmann::json;

namespace {

const std::string submissionsPath = "/notary/v2/submissions";

FakeService::Call callOf(const std::string& head)
{
    using Call = FakeService::Call;
    const std::string target = head.substr(0, head.find(" HTTP/"));
    if (target == "POST " + submissionsPath)
        return Call::create;
    if (target == "GET " + submissionsPath)
        return Call::history;
    if (target == "GET " + submissionsPath + "/" + FakeService::id)
        return Call::status;
    if (target == "GET " + submissionsPath + "/" + FakeService::id + "/logs")
        return Call::logs;
    return target.starts_with("GET /the-log") ? Call::log : Call::upload;
}

bool needsToken(FakeService::Call call)
{
    return call != FakeService::Call::log && call != FakeService::Call::upload;
}

} // namespace

std::string httpReply(int status, const std::string& body, const std::string& headers)
{
    return "HTTP/1.1 " + std::to_string(status) + " Scripted\r\nConnection: close\r\n" + headers
        + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string headerIn(const std::string& head, const std::string& name)
{
    const std::size_t start = head.find("\r\n" + name + ": ");
    if (start == std::string::npos)
        return {};
    const std::size_t value = start + name.size() + 4;
    return head.substr(value, head.find("\r\n", value) - value);
}

std::vector<std::byte> fromBase64Url(const std::string& text)
{
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::vector<std::byte> data;
    uint32_t bits = 0;
    int count = 0;
    for (const char letter : text) {
        bits = bits << 6 | static_cast<uint32_t>(alphabet.find(letter));
        count += 6;
        if (count >= 8)
            data.push_back(static_cast<std::byte>(bits >> (count -= 8) & 255));
    }
    return data;
}

bool isSignedBy(const keychain::PrivateKey& key, const std::string& token)
{
    const std::size_t dot = token.rfind('.');
    const auto raw = fromBase64Url(token.substr(dot + 1));
    if (raw.size() != 64)
        return false;
    const auto* numbers = reinterpret_cast<const unsigned char*>(raw.data());
    const std::unique_ptr<ECDSA_SIG, Free<ECDSA_SIG_free>> signature(ECDSA_SIG_new());
    ECDSA_SIG_set0(
        signature.get(), BN_bin2bn(numbers, 32, nullptr), BN_bin2bn(numbers + 32, 32, nullptr));
    const auto der = keychain::derOf(signature.get(), i2d_ECDSA_SIG);
    const std::unique_ptr<EVP_MD_CTX, Free<EVP_MD_CTX_free>> context(EVP_MD_CTX_new());
    EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr, key.get());
    return EVP_DigestVerify(context.get(), reinterpret_cast<const unsigned char*>(der.data()),
               der.size(), reinterpret_cast<const unsigned char*>(token.data()), dot)
        == 1;
}

FakeService::FakeService()
    : m_key(keychain::KeyOwner(EVP_EC_gen("P-256")))
    , m_keyPem(m_key.pem())
    , m_server(HttpServer::RawAnswer([this](const auto& request) { return answer(request); }))
{ }

std::vector<FakeService::Request> FakeService::requests() const
{
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

int FakeService::count(Call call) const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(std::ranges::count(m_requests, call, &Request::call));
}

std::string FakeService::answer(const HttpServer::Request& raw)
{
    const std::lock_guard lock(m_mutex);
    const Request request{callOf(raw.head), raw.head,
        std::string(reinterpret_cast<const char*>(raw.body.data()), raw.body.size())};
    m_requests.push_back(request);
    auto& script = faults[request.call];
    if (!script.empty()) {
        const Fault fault = script.front();
        script.pop_front();
        return fault.status == 0 ? "" : httpReply(fault.status, fault.body, fault.headers);
    }
    const std::string authorization = headerIn(request.head, "Authorization");
    if (needsToken(request.call)
        && (!authorization.starts_with("Bearer ") || !isSignedBy(m_key, authorization.substr(7))))
        return httpReply(401, "Unauthenticated\nRequest ID: X");
    return rightAnswer(request);
}

std::string FakeService::rightAnswer(const Request& request)
{
    switch (request.call) {
    case Call::create:
        return httpReply(200,
            json{{"data",
                     {{"id", id},
                         {"attributes",
                             {{"awsAccessKeyId", accessKeyId}, {"awsSecretAccessKey", secretKey},
                                 {"awsSessionToken", sessionToken}, {"bucket", "bucket"},
                                 {"object", "prod/an object"}}}}},
                {"meta", json::object()}}
                .dump());
    case Call::upload:
        m_uploaded = request.body;
        return httpReply(200, "");
    case Call::status:
        return httpReply(200, json{{"data", json::parse(statusAnswer())}}.dump());
    case Call::history:
        return httpReply(200, json{{"data", json::array({json::parse(statusAnswer())})}}.dump());
    case Call::logs:
        return httpReply(200,
            json{{"data", {{"attributes", {{"developerLogUrl", m_server.url("/the-log?key=k")}}}}}}
                .dump());
    case Call::log:
        return httpReply(200, logText);
    }
    return "";
}

std::string FakeService::statusAnswer()
{
    const std::string status = statuses.front();
    if (statuses.size() > 1)
        statuses.pop_front();
    return json{{"id", id},
        {"attributes", {{"createdDate", createdDate}, {"name", "App.zip"}, {"status", status}}}}
        .dump();
}

NotaryTest::NotaryTest()
{
    writeFile(archive(), "PK\x03\x04 the archive");
    writeFile(path("key.p8"), service.keyPem());
    const Outcome stored = runBare({"store-credentials", "P", "--key", path("key.p8"), "--key-id",
        "KEYID", "--issuer", "ISSUER", "--service", service.url(), "--no-validate"});
    EXPECT_EQ(stored.err, "");
}

Outcome NotaryTest::run(std::vector<std::string> arguments)
{
    arguments.insert(arguments.end(), {"--keychain-profile", "P"});
    return runBare(arguments);
}

Outcome NotaryTest::runBare(const std::vector<std::string>& arguments)
{
    std::ostringstream out, err;
    const int status = tools::notarytool(
        {.clock = clock, .client = client, .folder = path("state/notary")}, arguments, out, err);
    return {status, out.str(), err.str()};
}
