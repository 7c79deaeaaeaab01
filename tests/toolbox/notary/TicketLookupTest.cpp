#include "notary/TicketLookup.h"
#include "../keychain/HttpServer.h"
#include "../notarytool/HandClock.h"
#include "NotaryBench.h"
#include "notary/ServiceError.h"
#include "notary/TicketStore.h"
#include "tools/Spctl.h"
#include "tools/Stapler.h"

#include <deque>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using notary::LookupPolicy;
using notary::TicketHash;
using notary::TicketLookup;

const std::string found = R"({"records":[{"recordName":"2/2/00","recordType":"DeveloperIDTicket",)"
                          R"("fields":{"signedTicket":{"type":"BYTES","value":"czhjaAE="}}}]})";
const std::string notFound =
    R"({"records":[{"recordName":"2/2/00","reason":"Record not found","serverErrorCode":"NOT_FOUND"}]})";

/// The service with its next answers; the last one stays. An empty one drops the connection.
struct Service {
    explicit Service(std::deque<std::string> script)
        : answers(std::move(script))
    { }

    std::optional<std::string> find(const LookupPolicy& policy)
    {
        const TicketLookup lookup(client, clock, server.url(""));
        const auto ticket = lookup.find(TicketHash(), policy);
        if (!ticket)
            return std::nullopt;
        return std::string(reinterpret_cast<const char*>(ticket->data()), ticket->size());
    }

    std::deque<std::string> answers;
    std::string asked;
    HandClock clock;
    notary::HttpClient client;
    HttpServer server{HttpServer::RawAnswer([this](const HttpServer::Request& request) {
        asked = request.head
            + std::string(reinterpret_cast<const char*>(request.body.data()), request.body.size());
        const std::string answer = answers.front();
        if (answers.size() > 1)
            answers.pop_front();
        return answer;
    })};
};

std::string reply(const std::string& body, const std::string& status = "200 OK")
{
    return "HTTP/1.1 " + status + "\r\nConnection: close\r\nContent-Length: "
        + std::to_string(body.size()) + "\r\n\r\n" + body;
}

TEST(TicketLookup, WaitsForATicketThatIsPublishedLate)
{
    struct Row {
        const char* name;
        std::deque<std::string> answers;
        LookupPolicy policy;
        std::optional<std::string> ticket;
        int waited; // seconds
    };
    const std::string ticket("s8ch\1", 5);
    const std::string ill = reply("ill", "503 Service Unavailable");
    const Row rows[] = {
        {"there at once", {reply(found)}, {}, ticket, 0},
        {"not there, and no time", {reply(notFound), reply(found)}, {}, std::nullopt, 0},
        {"late", {reply(notFound), reply(notFound), reply(notFound), reply(found)},
            notary::justIssued, ticket, 2 + 4 + 8},
        {"never", {reply(notFound)}, notary::justIssued, std::nullopt, 2 + 4 + 8 + 16 + 30 + 30},
        {"an ill service and a dropped connection", {ill, "", reply(found)}, notary::justIssued,
            ticket, 1 + 2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Service service(row.answers);
        EXPECT_EQ(service.find(row.policy), row.ticket);
        EXPECT_EQ(service.clock.waited().count(), row.waited);
        EXPECT_THAT(service.asked,
            testing::AllOf(testing::StartsWith("POST /database/1/com.apple.gk.ticket-delivery/"
                                               "production/public/records/lookup HTTP"),
                testing::EndsWith(
                    R"({"records":[{"recordName":"2/2/)" + std::string(40, '0') + R"("}]})")));
    }
}

TEST(TicketLookup, SaysWhenThereIsNoSensibleAnswer)
{
    for (const std::string& answer :
        {reply("no JSON"), reply("{}"), reply(R"({"records":[]})"), reply(R"({"records":[7]})"),
            reply(R"({"records":[{"fields":{"signedTicket":{"value":7}}}]})"),
            reply(R"({"records":[{"fields":{"signedTicket":{"value":"*"}}}]})"),
            reply("no", "404 Not Found")}) {
        Service service({answer});
        EXPECT_THROW(service.find({}), notary::ServiceError) << answer;
    }
    Service dropped({""});
    EXPECT_THROW(dropped.find({}), notary::NetworkError);
}

/// A service that knows the ticket of an application, which this host has forgotten.
struct ForgottenTicket {
    explicit ForgottenTicket(std::deque<std::string> before)
        : service((bench.sign(bench.app()), NotaryBench::judge(bench.zip()), std::move(before)))
    {
        const notary::TicketStore store(NotaryBench::state());
        const auto hash = TicketHash::allOf(codesign::StaticCode::read(bench.app())).front();
        service.answers.push_back(reply(recordWith(store.find(hash).value())));
        for (const std::string& name : store.folder().names())
            store.folder().remove(name);
        store.folder().write("service", service.server.url("") + "\n");
    }

    static std::string recordWith(const std::vector<std::byte>& ticket)
    {
        std::string text(ticket.size() * 4 / 3 + 8, '\0');
        text.resize(
            static_cast<std::size_t>(EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                reinterpret_cast<const unsigned char*>(ticket.data()),
                static_cast<int>(ticket.size()))));
        return R"({"records":[{"fields":{"signedTicket":{"type":"BYTES","value":")" + text
            + R"("}}}]})";
    }

    int staple(std::string& said)
    {
        std::ostringstream out;
        std::ostringstream err;
        const std::vector<std::string> words{"staple", bench.app()};
        const int status = tools::stapler(service.client, service.clock, words, out, err);
        said = out.str() + err.str();
        return status;
    }

    NotaryBench bench;
    Service service;
};

TEST(TicketLookup, ServesStaplingAndAssessment)
{
    ForgottenTicket test({reply(notFound), reply(notFound)});
    std::string said;
    EXPECT_EQ(test.staple(said), 0) << said;
    EXPECT_EQ(test.service.clock.waited().count(), 2 + 4);
    EXPECT_TRUE(fs::exists(test.bench.app() / "Contents/CodeResources"));

    fs::remove(test.bench.app() / "Contents/CodeResources");
    const Outcome verdict = run(tools::spctl, {"-a", "-v", test.bench.app()});
    EXPECT_EQ(verdict.status, 0);
    EXPECT_THAT(verdict.err, testing::HasSubstr("source=Notarized Developer ID\n"));
}

TEST(TicketLookup, ThatFailsLeavesCodeAsItIs)
{
    ForgottenTicket test({""});
    test.service.answers.resize(1);
    std::string said;
    EXPECT_EQ(test.staple(said), 68);
    EXPECT_THAT(said,
        testing::AllOf(testing::HasSubstr("\nerror is Error Domain=NSURLErrorDomain Code=-1005"),
            testing::HasSubstr("\nCloudKit's response is inconsistent with expections: (null)\n"),
            testing::EndsWith("The staple and validate action failed! Error 68.\n")));
    EXPECT_FALSE(fs::exists(test.bench.app() / "Contents/CodeResources"));
    EXPECT_EQ(run(tools::spctl, {"-a", "-v", test.bench.app()}).status, 3);

    // A ticket that nobody known has signed is no ticket, wherever it comes from.
    test.service.answers = {reply(found)};
    EXPECT_EQ(test.staple(said), 65);
}

} // namespace
