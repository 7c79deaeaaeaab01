#include "FakeService.h"

#include "archive/MakeZip.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using Call = FakeService::Call;

namespace fs = std::filesystem;

namespace {

const std::string id = FakeService::id;
const std::string localNote = "note=local stand-in authority, not Apple";

/// The first id that a transcript names.
std::string idIn(const std::string& transcript)
{
    const std::size_t start = transcript.find("id: ") + 4;
    return transcript.substr(start, transcript.find('\n', start) - start);
}

} // namespace

TEST(Notarytool, ASubmissionIsToldAsTheRealToolDoes)
{
    NotaryTest test;
    test.service.statuses = {"In Progress", "In Progress", "Accepted"};
    const Outcome outcome = test.run({"submit", test.archive(), "--wait"});
    const std::string log = test.path("state/notary/submissions/" + id + ".log.json");
    EXPECT_EQ(outcome.out,
        "Conducting pre-submission checks for App.zip and initiating connection to the Apple "
        "notary service...\n"
        "Submission ID received\n  id: "
            + id + "\n\rUpload progress: 100.00% (0.02 KB of 0.02 KB)   \n"
            + "Successfully uploaded file\n  id: " + id + "\n  path: " + test.archive()
            + "\nWaiting for processing to complete.\n"
              "\rCurrent status: In Progress.\rCurrent status: In Progress..\rCurrent status: "
              "Accepted...Processing complete\n  id: "
            + id + "\n  status: Accepted\n  log: " + log + "\n");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(readFile(log), test.service.logText);
    EXPECT_EQ(test.service.uploaded(), readFile(test.archive()));
}

TEST(Notarytool, EachPlaceHearsItsOwnSecretOnly)
{
    NotaryTest test;
    test.run({"submit", test.archive(), "--wait", "--webhook", "https://example.com/hook"});
    for (const FakeService::Request& request : test.service.requests()) {
        const std::string authorization = headerIn(request.head, "Authorization");
        if (request.call == Call::log)
            EXPECT_EQ(authorization, "");
        else if (request.call == Call::upload)
            EXPECT_THAT(authorization,
                HasSubstr("AWS4-HMAC-SHA256 Credential=ASIAEXAMPLE/20231114/us-west-2/s3/"));
        else
            EXPECT_TRUE(authorization.starts_with("Bearer "));
        if (request.call == Call::upload) {
            EXPECT_THAT(request.head, HasSubstr("PUT /bucket/prod/an%20object HTTP"));
        }
        if (request.call != Call::create)
            continue;
        const json body = json::parse(request.body);
        EXPECT_EQ(body["submissionName"], "App.zip");
        EXPECT_EQ(body["sha256"].get<std::string>().size(), 64U);
        EXPECT_EQ(body["notifications"],
            json::parse(R"([{"channel":"webhook","target":"https://example.com/hook"}])"));
    }
}

TEST(Notarytool, ARefusalIsAVerdictToo)
{
    NotaryTest test;
    test.service.statuses = {"In Progress", "Invalid"};
    test.service.logText = R"({"status":"Invalid","issues":[{"path":"App.zip/a"}]})";
    const Outcome outcome = test.run({"submit", test.archive(), "--wait"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, HasSubstr("Current status: Invalid..Processing complete"));
    EXPECT_THAT(outcome.out, HasSubstr("\n  status: Invalid\n"));
    EXPECT_EQ(test.run({"log", id}).out, test.service.logText + "\n");
    EXPECT_THAT(test.run({"log", id, test.path("log.json")}).out,
        HasSubstr("Successfully downloaded submission log\n  id: " + id));
    EXPECT_EQ(readFile(test.path("log.json")), test.service.logText);
}

TEST(Notarytool, AVerdictHoldsWithoutItsLog)
{
    NotaryTest test;
    test.service.faults[Call::logs] = std::deque<FakeService::Fault>(100, {404, ""});
    const Outcome outcome = test.run({"submit", test.archive(), "--wait"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.out.ends_with("  status: Accepted\n"));
    EXPECT_EQ(test.run({"log", id}).status, 1);
}

TEST(Notarytool, HistoryAndInfo)
{
    NotaryTest test;
    test.service.statuses = {"Accepted"};
    const std::string facts = std::string("createdDate: ") + FakeService::createdDate + "\n";
    EXPECT_EQ(test.run({"history"}).out,
        "Successfully received submission history.\n  history\n"
        "    --------------------------------------------------\n    "
            + facts + "    id: " + id + "\n    name: App.zip\n    status: Accepted\n");
    EXPECT_EQ(test.run({"info", id}).out,
        "Successfully received submission info\n  " + facts + "  id: " + id
            + "\n  name: App.zip\n  status: Accepted\n");
    test.service.faults[Call::history] = {{200, R"({"data":[]})"}};
    EXPECT_EQ(test.run({"history"}).out, "Successfully received submission history.\n");

    for (const std::vector<std::string>& call :
        {std::vector<std::string>{"history"}, {"info", id}, {"submit", test.archive(), "--wait"}}) {
        std::vector<std::string> words = call;
        words.insert(words.end(), {"--output-format", "json"});
        const json report = json::parse(test.run(words).out);
        EXPECT_TRUE(report.contains("message")) << report;
        EXPECT_EQ((call[0] == "history" ? report["history"][0] : report)["status"], "Accepted");
    }
}

TEST(Notarytool, StoresAKeyWhenTheServiceKnowsIt)
{
    NotaryTest test;
    const std::vector<std::string> call{"store-credentials", "new", "--key", test.path("key.p8"),
        "--key-id", "K", "--issuer", "I", "--service", test.service.url()};
    test.service.faults[Call::history] = {{401, "Unauthenticated"}, {401, "Unauthenticated"}};
    const Outcome refused = test.runBare(call);
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(refused.out.ends_with("Validating your credentials...\n"));
    EXPECT_THAT(refused.err, HasSubstr("Error: HTTP status code: 401. Unauthenticated."));
    EXPECT_EQ(test.runBare({"history", "--keychain-profile", "new"}).status, 69);

    const Outcome stored = test.runBare(call);
    EXPECT_EQ(stored.status, 0);
    EXPECT_EQ(stored.out,
        "\nThis process stores your credentials securely in the Keychain. You reference these "
        "credentials later using a profile name.\n\nValidating your credentials...\nSuccess. "
        "Credentials validated.\nCredentials saved to Keychain.\nTo use them, specify "
        "`--keychain-profile \"new\"`\n");
    EXPECT_EQ(test.runBare({"history", "--keychain-profile", "new"}).status, 0);
}

TEST(Notarytool, SaysWhatIsWrongWithACall)
{
    NotaryTest test;
    writeFile(test.path("text.zip"), "no archive");
    struct Row {
        const char* name;
        std::vector<std::string> arguments;
        int status;
        const char* text;
    };
    const Row rows[] = {
        {"no verb", {}, 64, "USAGE: notarytool <subcommand>"},
        {"no such verb", {"send"}, 64, "USAGE: notarytool <subcommand>"},
        {"no credentials", {"history"}, 64, "Error: Either --keychain-profile"},
        {"unknown profile", {"history", "--keychain-profile", "nobody"}, 69,
            "Error: No Keychain password item found for profile: nobody\n\nRun 'notarytool "
            "store-credentials' to create another credential profile.\n"},
        {"no archive", {"submit", test.path("text.zip"), "--keychain-profile", "local"}, 1,
            "Error: text.zip must be a zip archive (.zip), flat installer package (.pkg), or UDIF "
            "disk image (.dmg)"},
        {"no file", {"submit", test.path("none.zip"), "--keychain-profile", "local"}, 1,
            "No such file"},
        {"no time", {"submit", test.archive(), "--wait", "--timeout", "1y", "-p", "local"}, 64,
            "Error: --timeout"},
        {"no key", {"store-credentials", "x", "--key", test.archive(), "--key-id", "K"}, 1,
            "Error: "},
        {"a service in the open",
            {"store-credentials", "x", "--key", test.path("key.p8"), "--key-id", "K", "--service",
                "http://example.com"},
            64, "Error: --service"},
        {"the local profile replaced",
            {"store-credentials", "local", "--key", test.path("key.p8"), "--key-id", "K",
                "--no-validate"},
            1, "Error: the profile local"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Outcome outcome = test.runBare(row.arguments);
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_THAT(outcome.err, HasSubstr(row.text));
    }
}

TEST(Notarytool, AnAppleIdIsNotPassedOffAsTested)
{
    NotaryTest test;
    const Outcome stored = test.runBare({"store-credentials", "mine", "--apple-id", "a@b.example",
        "--team-id", "TEAM123456", "--password", "abcd-efgh-ijkl-mnop"});
    EXPECT_EQ(stored.status, 0);
    EXPECT_THAT(stored.out, Not(HasSubstr("Success")));
    EXPECT_THAT(stored.out, HasSubstr("Not validated"));
    EXPECT_THAT(stored.out, HasSubstr(localNote));
    for (const auto& entry : fs::recursive_directory_iterator(test.path("state/notary"))) {
        if (entry.is_regular_file()) {
            EXPECT_THAT(readFile(entry.path()), Not(HasSubstr("abcd-efgh")));
        }
    }
    const Outcome history = test.runBare({"history", "--keychain-profile", "mine"});
    EXPECT_EQ(history.out, "Successfully received submission history.\n  " + localNote + "\n");
    EXPECT_EQ(test.service.requests().size(), 0U);
}

TEST(Notarytool, TheLocalAuthoritySaysThatItIsLocal)
{
    NotaryTest test;
    fs::create_directory(test.path("App.app"));
    writeFile(test.path("App.app/text"), "no code");
    archive::makeZip(test.path("App.app"), test.path("local.zip"), {.keepParent = true});
    const std::vector<std::string> profile{"--keychain-profile", "local"};
    const auto run = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), profile.begin(), profile.end());
        return test.runBare(arguments);
    };
    const Outcome outcome = run({"submit", test.path("local.zip"), "--wait"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::string local = idIn(outcome.out);
    EXPECT_THAT(outcome.out, HasSubstr("Invalid.Processing complete\n  id: " + local));
    EXPECT_THAT(outcome.out, HasSubstr("local authority of this host"));
    EXPECT_THAT(outcome.out, Not(HasSubstr("Apple notary service")));
    EXPECT_TRUE(outcome.out.ends_with("  " + localNote + "\n"));
    EXPECT_THAT(run({"history"}).out, HasSubstr("    id: " + local + "\n    name: local.zip\n"));
    EXPECT_THAT(run({"info", local}).out, HasSubstr("  status: Invalid\n  " + localNote));
    EXPECT_THAT(json::parse(run({"log", local}).out)["issues"].dump(), HasSubstr("local.zip"));
    EXPECT_EQ(run({"wait", local}).status, 0);
    EXPECT_EQ(run({"info", id}).status, 1) << "no id of another authority";
    EXPECT_EQ(test.service.requests().size(), 0U);
}

TEST(Xcrun, FindsAndRunsTheToolbox)
{
    const fs::path toolbox = TOOLBOX_DIR;
    const fs::path program = toolbox / "usr/bin/xcrun";
    EXPECT_EQ(
        runProgram(program, {"--find", "ditto"}).out, (toolbox / "usr/bin/ditto").string() + "\n");
    const Outcome missing = runProgram(program, {"nothing"});
    EXPECT_EQ(missing.status, 72);
    EXPECT_EQ(missing.err,
        "xcrun: error: unable to find utility \"nothing\", not a developer tool or in PATH\n");
    EXPECT_EQ(runProgram(program, {"../bin/ditto"}).status, 72);
    EXPECT_EQ(runProgram(program, {}).status, 64);
    EXPECT_EQ(runProgram(program, {"--unknown", "ditto"}).status, 64);

    const ToolTest test;
    writeFile(test.path("a b/Größe"), "content");
    EXPECT_EQ(
        runProgram(program, {"ditto", "-ck", "--keepParent", test.path("a b"), test.path("a.zip")})
            .status,
        0);
    EXPECT_EQ(
        runProgram(program, {"ditto", "-x", "-k", test.path("a.zip"), test.path("out")}).status, 0);
    EXPECT_EQ(readFile(test.path("out/a b/Größe")), "content");
    const Outcome wrong =
        runProgram(program, {"ditto", "-c", "-k", test.path("none"), test.path("x")});
    EXPECT_EQ(wrong.status, 1);
    EXPECT_EQ(wrong.err, "ditto: can't get real path for source '" + test.path("none") + "'\n");
}
