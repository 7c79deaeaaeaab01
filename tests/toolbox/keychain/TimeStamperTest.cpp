#include "HttpServer.h"
#include "KeychainBench.h"
#include "keychain/HttpTimeStamper.h"
#include "keychain/LocalTimeStamper.h"
#include "keychain/TimeStampProtocol.h"

#include <array>
#include <gtest/gtest.h>
#include <openssl/sha.h>

using namespace keychain;

namespace {

const std::vector<std::byte> data = bytesOf("what is to be stamped");

std::vector<std::byte> imprintOf(std::span<const std::byte> content)
{
    std::vector<std::byte> imprint(SHA256_DIGEST_LENGTH);
    SHA256(reinterpret_cast<const unsigned char*>(content.data()), content.size(),
        reinterpret_cast<unsigned char*>(imprint.data()));
    return imprint;
}

} // namespace

TEST(TimeStamp, ComesFromAServiceOnTheNetwork)
{
    const Rehearsal& rehearsal = Rehearsal::shared();
    const HttpServer server([&](const HttpServer::Request& request) {
        EXPECT_NE(request.head.find("POST /ts01 "), std::string::npos) << request.head;
        EXPECT_NE(
            request.head.find("Content-Type: application/timestamp-query"), std::string::npos);
        EXPECT_NE(request.head.find("Accept: application/timestamp-reply"), std::string::npos);
        EXPECT_TRUE(request.body.size() >= 68 && request.body.size() <= 70) << request.body.size();
        return rehearsal.authority.timeStampResponse(request.body);
    });
    const auto token = HttpTimeStamper(server.url("/ts01")).token(imprintOf(data));
    const TokenFacts facts = readToken(token, data, rehearsal.store.trustedRoots());
    EXPECT_TRUE(facts.isIntact);
    EXPECT_EQ(facts.trust, Trust::trusted);
    EXPECT_LE(std::chrono::abs(now() - facts.time), std::chrono::minutes(1));
    ASSERT_EQ(facts.chain.size(), 2U);
    EXPECT_EQ(facts.chain[0].commonName(), "Vandor Local Rehearsal Time Stamp");
}

TEST(TimeStamp, IsNotTakenFromABadAnswer)
{
    const LocalAuthority& authority = Rehearsal::shared().authority;
    const std::vector<std::byte> earlier =
        authority.timeStampResponse(TimeStampRequest(imprintOf(data)).der());
    struct Row {
        const char* what;
        HttpServer::Answer answer;
    };
    const Row rows[] = {
        {"not a time-stamp response",
            [](const auto&) { return bytesOf("<html>It works!</html>"); }},
        {"nothing at all", [](const auto&) { return std::vector<std::byte>(); }},
        {"an answer from before, with another nonce", [&](const auto&) { return earlier; }},
        {"a refusal", [&](const auto&) { return authority.timeStampResponse(bytesOf("what?")); }},
        {"a stamp for something else",
            [&](const auto&) {
                return authority.timeStampResponse(
                    TimeStampRequest(imprintOf(bytesOf("other"))).der());
            }},
        {"a damaged signature",
            [&](const auto& request) {
                auto response = authority.timeStampResponse(request.body);
                response.back() ^= std::byte{1};
                return response;
            }},
        {"endless", [](const auto&) { return std::vector<std::byte>(3 << 20); }},
    };
    for (const Row& row : rows) {
        const HttpServer server(row.answer);
        try {
            HttpTimeStamper(server.url("/")).token(imprintOf(data));
            ADD_FAILURE() << row.what;
        } catch (const TimeStampUnavailable& fault) {
            EXPECT_STREQ(fault.what(), "The timestamp service is not available.") << row.what;
            EXPECT_FALSE(fault.reason().empty()) << row.what;
        }
    }
}

TEST(TimeStamp, ServiceMayBeOutOfReach)
{
    std::string url;
    {
        const HttpServer gone([](const auto&) { return std::vector<std::byte>(); });
        url = gone.url("/");
    }
    for (const std::string& bad : {url, std::string("file:///etc/passwd"), std::string("?")})
        EXPECT_THROW(HttpTimeStamper(bad).token(imprintOf(data)), TimeStampUnavailable) << bad;
}

TEST(TimeStamp, TokenIsCheckedAgainstItsDataAndItsMaker)
{
    const Rehearsal& rehearsal = Rehearsal::shared();
    const auto token = LocalTimeStamper(rehearsal.authority).token(imprintOf(data));
    const TrustedRoots roots = rehearsal.store.trustedRoots();
    EXPECT_FALSE(readToken(token, bytesOf("other"), roots).isIntact);
    EXPECT_EQ(readToken(token, data, TrustedRoots()).trust, Trust::notTrusted);
    const Time madeAt = readToken(token, data, roots).time;
    for (std::size_t at = 0; at < token.size(); at += 7) {
        auto damaged = token;
        damaged[at] ^= std::byte{0x41};
        const TokenFacts facts = readToken(damaged, data, roots);
        EXPECT_TRUE(facts.trust != Trust::trusted || facts.time == madeAt) << at;
        const std::vector<std::byte> part(
            token.begin(), token.begin() + static_cast<std::ptrdiff_t>(at));
        EXPECT_FALSE(readToken(part, data, roots).isIntact) << at;
    }
}

TEST(TimeStamp, NeedsACertificateForStamping)
{
    const Rehearsal& rehearsal = Rehearsal::shared();
    const TestAuthority authority;
    TrustedRoots roots;
    roots.addRehearsalRoot(authority.root);
    const std::vector<CertificatePlan::Extension> stamping{
        {"keyUsage", "critical,digitalSignature"}, {"extendedKeyUsage", "critical,timeStamping"}};
    const TemporaryFolder folder;
    folder.write("token", LocalTimeStamper(rehearsal.authority).token(imprintOf(data)));
    for (const bool mayStamp : {true, false}) {
        const Identity signer = authority.identity(
            {.name = "Stamper", .usage = mayStamp ? stamping : TestAuthority::codeSigning()});
        EXPECT_EQ(roots.trustOf(signer.chain(), now()), Trust::trusted);
        folder.write("key.pem", signer.key.pem());
        folder.write("leaf.pem", signer.certificate.pem());
        folder.write("issuer.pem", authority.issuer.pem());
        ASSERT_EQ(folder.shell("openssl cms -verify -noverify -inform DER -in token -out content "
                               "&& openssl cms -sign -binary -nodetach -cades -in content "
                               "-econtent_type 1.2.840.113549.1.9.16.1.4 -signer leaf.pem "
                               "-inkey key.pem -certfile issuer.pem -outform DER -out resigned"),
            0)
            << folder.said;
        const TokenFacts facts = readToken(folder.read("resigned"), data, roots);
        EXPECT_TRUE(facts.isIntact);
        EXPECT_EQ(facts.trust, mayStamp ? Trust::trusted : Trust::notTrusted);
    }
}
