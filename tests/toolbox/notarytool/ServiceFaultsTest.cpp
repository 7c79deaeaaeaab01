#include "FakeService.h"

#include "notary/CredentialProfiles.h"
#include "notary/NotaryApi.h"

#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::Not;
using Call = FakeService::Call;
using Fault = FakeService::Fault;

namespace {

constexpr Fault dropped{};
const Fault unavailable{503, "<html>down</html>"};

std::vector<std::string> submitAndWait(const NotaryTest& test)
{
    return {"submit", test.archive(), "--wait"};
}

void expectNoSecrets(const NotaryTest& test, const Outcome& outcome)
{
    const std::string shown = outcome.out + outcome.err;
    for (const std::string& secret :
        {std::string(FakeService::secretKey), std::string(FakeService::sessionToken),
            std::string("key=k"), std::string("Bearer"), test.service.keyPem().substr(28, 40)})
        EXPECT_THAT(shown, Not(HasSubstr(secret)));
}

} // namespace

TEST(ServiceFaults, APassingFaultCostsTimeOnly)
{
    struct Row {
        const char* name;
        Call call;
        std::deque<Fault> faults;
        int atLeast = 0; // seconds of waiting
    };
    const Row rows[] = {
        {"a dropped poll", Call::status, {dropped}},
        {"several dropped polls and an ill service", Call::status,
            {dropped, unavailable, dropped, unavailable, dropped}},
        {"a poll too many", Call::status, {{429, "", "Retry-After: 7\r\n"}}},
        {"a submission that isn't known yet", Call::status, {{404, ""}}},
        {"an expired token while waiting", Call::status, {{401, "Unauthenticated"}}},
        {"an expired token at the beginning", Call::create, {{401, "Unauthenticated"}}},
        {"a service that is ill at the beginning", Call::create, {{500, ""}, {502, ""}}, 3},
        {"too many submissions", Call::create, {{429, "", "Retry-After: 100\r\n"}}, 100},
        {"an upload that is cut", Call::upload, {dropped, dropped}, 3},
        {"a storage that is slow", Call::upload, {{503, "<Error><Code>SlowDown</Code></Error>"}}},
        {"a late log", Call::logs, {{404, ""}, {404, ""}}, 4},
        {"a log whose place is ill", Call::log, {unavailable, dropped}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        NotaryTest test;
        test.service.faults[row.call] = row.faults;
        const Outcome outcome = test.run(submitAndWait(test));
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, "");
        EXPECT_THAT(outcome.out, HasSubstr("  status: Accepted\n  log: "));
        EXPECT_EQ(test.service.uploaded(), readFile(test.archive()));
        EXPECT_GE(test.clock.waited().count(), row.atLeast);
        expectNoSecrets(test, outcome);
    }
}

TEST(ServiceFaults, ALastingFaultIsSaidInTheToolsWords)
{
    struct Row {
        const char* name;
        Call call;
        Fault fault;
        const char* text;
    };
    const Row rows[] = {
        {"connection lost", Call::create, dropped,
            "Error: HTTPError(statusCode: nil, error: Error Domain=NSURLErrorDomain Code=-1005 "
            "\"The network connection was lost.\" UserInfo="},
        {"upload lost", Call::upload, dropped, "The network connection was lost."},
        {"polls lost", Call::status, dropped, "The network connection was lost."},
        {"bad key", Call::create, {401, "Unauthenticated\nRequest ID: 1"},
            "Error: HTTP status code: 401. Unauthenticated. Ensure that all authentication "
            "arguments are correct.\n"},
        {"agreement missing", Call::create,
            {403, R"({"errors":[{"status":"403","title":"A required agreement is missing."}]})"},
            "Error: HTTP status code: 403. A required agreement is missing.\n"},
        {"ill for long", Call::create, unavailable,
            "Error: HTTP status code: 503. This is often transient; try again later.\n"},
        {"upload refused", Call::upload, {403, "<Error/>"}, "Error: HTTP status code: 403.\n"},
        {"no JSON", Call::create, {200, "surprise"}, "isn't understood"},
        {"JSON of another kind", Call::create, {200, R"({"data":[1]})"}, "isn't understood"},
        {"an id that is a path", Call::create,
            {200, R"({"data":{"id":"../../../etc/passwd","attributes":{"bucket":"b","object":"o",
                "awsAccessKeyId":"","awsSecretAccessKey":"","awsSessionToken":""}}})"},
            "isn't understood"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        NotaryTest test;
        test.service.faults[row.call] = std::deque<Fault>(400, row.fault);
        const Outcome outcome = test.run(submitAndWait(test));
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, HasSubstr(row.text));
        EXPECT_TRUE(outcome.err.starts_with("Error: "));
        EXPECT_THAT(outcome.out, Not(HasSubstr("Processing complete")));
        expectNoSecrets(test, outcome);
    }
}

TEST(ServiceFaults, ALostSubmissionGoesOnWhereItWas)
{
    NotaryTest test;
    test.service.faults[Call::status] = std::deque<Fault>(400, dropped);
    EXPECT_EQ(test.run(submitAndWait(test)).status, 1);
    test.service.faults[Call::status].clear();
    const Outcome again = test.run(submitAndWait(test));
    EXPECT_EQ(again.status, 0);
    EXPECT_THAT(again.out, HasSubstr("status: Accepted\n"));
    EXPECT_EQ(test.service.count(Call::create), 1);
    EXPECT_EQ(test.service.count(Call::upload), 1);

    // A decided one is over: the same file again is a new submission.
    test.run(submitAndWait(test));
    EXPECT_EQ(test.service.count(Call::create), 2);
    // And one that the service no longer knows.
    test.service.statuses = {"In Progress"};
    test.run({"submit", test.archive()});
    test.service.faults[Call::status] = {{404, ""}};
    test.run({"submit", test.archive()});
    EXPECT_EQ(test.service.count(Call::create), 4);
    // And one that has been without a verdict for too long.
    test.run({"submit", test.archive()});
    EXPECT_EQ(test.service.count(Call::create), 4);
    test.clock.wait(std::chrono::hours(25));
    test.run({"submit", test.archive()});
    EXPECT_EQ(test.service.count(Call::create), 5);
}

TEST(ServiceFaults, AnUploadThatFailedIsNotTakenForDone)
{
    NotaryTest test;
    test.service.faults[Call::upload] = {{403, ""}};
    EXPECT_EQ(test.run(submitAndWait(test)).status, 1);
    EXPECT_EQ(test.run(submitAndWait(test)).status, 0);
    EXPECT_EQ(test.service.count(Call::create), 2);
}

TEST(ServiceFaults, WaitingHasAnEnd)
{
    NotaryTest test;
    test.service.statuses = {"In Progress"};
    const Outcome outcome = test.run({"submit", test.archive(), "--wait", "--timeout", "10m"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err,
        "Error: Timeout of 600 second(s) was reached before processing completed.\n  id: "
            + std::string(FakeService::id) + "\n  status: In Progress\n");
    EXPECT_EQ(test.clock.waited(), std::chrono::minutes(10));
    test.service.statuses = {"Accepted"};
    EXPECT_THAT(test.run({"wait", FakeService::id}).out,
        HasSubstr("\rCurrent status: Accepted.Processing complete\n"));
    test.service.statuses = {"In Progress"};
    EXPECT_EQ(test.run(submitAndWait(test)).status, 1) << "also when nobody set one";
}

TEST(ServiceFaults, AServiceThatSaysNothing)
{
    std::promise<void> over;
    const std::shared_future<void> end = over.get_future().share();
    HttpServer server(HttpServer::RawAnswer([&](const HttpServer::Request&) {
        end.wait();
        return std::string();
    }));
    const notary::HttpClient client(std::chrono::seconds(1));
    try {
        client.send({.url = server.url("/")});
        FAIL() << "an answer";
    } catch (const notary::NetworkError& error) {
        EXPECT_EQ(error.code(), notary::NetworkError::Code::timedOut);
        EXPECT_THAT(error.what(), HasSubstr("Code=-1001 \"The request timed out.\""));
    }
    over.set_value();
}

TEST(ServiceFaults, AServiceThatIsNotThere)
{
    std::string url;
    {
        const HttpServer server(
            HttpServer::RawAnswer([](const HttpServer::Request&) { return std::string(); }));
        url = server.url("/");
    }
    EXPECT_THROW(notary::HttpClient().send({.url = url}), notary::NetworkError);
}
