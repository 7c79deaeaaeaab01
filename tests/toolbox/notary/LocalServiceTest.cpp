#include "NotaryBench.h"
#include "archive/MakeZip.h"
#include "bytes/FormatError.h"
#include "codesign/StaticCode.h"
#include "notary/TicketStore.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

const std::string executable = "App.zip/Hello Vandor.app/Contents/MacOS/Hello Vandor";
const std::string framework =
    "App.zip/Hello Vandor.app/Contents/Frameworks/Greeting.framework/Versions/A/Greeting";

/// Every complaint as "PATH: MESSAGE", each once whatever the processor.
std::set<std::string> complaints(const notary::Verdict& verdict)
{
    std::set<std::string> all;
    const json log = json::parse(verdict.log);
    for (const json& issue : log.at("issues")) {
        if (issue.at("severity") == "error")
            all.insert(issue.at("path").get<std::string>() + ": "
                + issue.at("message").get<std::string>());
    }
    return all;
}

TEST(LocalService, PassesWhatThePublicOnePasses)
{
    const NotaryBench bench;
    bench.sign(bench.app());
    const notary::Verdict verdict = NotaryBench::judge(bench.zip());
    ASSERT_TRUE(verdict.accepted) << verdict.log;
    const json log = json::parse(verdict.log);
    EXPECT_EQ(log["authority"], "local stand-in authority, not Apple");
    EXPECT_EQ(log["jobId"], "id");
    EXPECT_EQ(log["status"], "Accepted");
    EXPECT_EQ(log["statusCode"], 0);
    EXPECT_EQ(log["issues"], json());
    ASSERT_EQ(log["ticketContents"].size(), 4U); // two processors each
    EXPECT_EQ(log["ticketContents"][0]["path"], "App.zip/Hello Vandor.app");

    const notary::TicketStore store(NotaryBench::state());
    for (const fs::path& path : {bench.app(), bench.sample.framework()}) {
        for (const auto& hash : notary::TicketHash::allOf(codesign::StaticCode::read(path)))
            EXPECT_TRUE(store.find(hash)) << path;
    }
}

TEST(LocalService, NamesEachFaultAndItsFile)
{
    const std::string notDeveloperId =
        ": The binary is not signed with a valid Developer ID certificate.";
    const std::string noStamp = ": The signature does not include a secure timestamp.";
    const std::string noRuntime = ": The executable does not have the hardened runtime enabled.";
    const std::string broken = ": The signature of the binary is invalid.";
    struct Row {
        const char* name;
        std::function<void(const NotaryBench&)> prepare;
        std::set<std::string> complaints;
    };
    const Row rows[] = {
        {"ad hoc", [](const NotaryBench& bench) { bench.sign(bench.app(), {.adhoc = true}); },
            {executable + notDeveloperId, executable + noStamp, framework + notDeveloperId,
                framework + noStamp}},
        {"without a time stamp",
            [](const NotaryBench& bench) { bench.sign(bench.app(), {.stamped = false}); },
            {executable + noStamp, framework + noStamp}},
        {"without the hardened runtime",
            [](const NotaryBench& bench) { bench.sign(bench.app(), {.flags = 0}); },
            {executable + noRuntime}},
        {"open to debuggers",
            [](const NotaryBench& bench) {
                bench.sign(bench.app(),
                    {.entitlements = "<plist version=\"1.0\"><dict><key>com.apple.security."
                                     "get-task-allow</key><true/></dict></plist>"});
            },
            {executable
                + ": The executable requests the com.apple.security.get-task-allow entitlement."}},
        {"a changed resource",
            [](const NotaryBench& bench) {
                bench.sign(bench.app());
                putContent(bench.app() / "Contents/Resources/AppIcon.icns", "changed");
            },
            {executable + broken}},
        {"a changed framework",
            [](const NotaryBench& bench) {
                bench.sign(bench.app());
                flip(bench.sample.framework() / "Versions/A/Greeting", 0x4000 + 0x800);
            },
            {framework + broken}},
        {"never signed", [](const NotaryBench&) {},
            {executable + ": The binary is not signed.", framework + ": The binary is not signed.",
                executable + notDeveloperId, executable + noStamp, executable + noRuntime,
                framework + notDeveloperId, framework + noStamp}},
        {"no code",
            [](const NotaryBench& bench) {
                fs::remove_all(bench.app());
                putContent(bench.app() / "text", "text");
            },
            {"App.zip: The archive contains no code."}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const NotaryBench bench;
        row.prepare(bench);
        const notary::Verdict verdict = NotaryBench::judge(bench.zip());
        EXPECT_FALSE(verdict.accepted);
        EXPECT_EQ(complaints(verdict), row.complaints);
        EXPECT_EQ(json::parse(verdict.log)["ticketContents"], json());
        EXPECT_FALSE(fs::exists(NotaryBench::state() / "tickets"));
    }
}

TEST(LocalService, SaysWhatIsWrongWithASeal)
{
    const NotaryBench bench;
    bench.sign(bench.app());
    putContent(bench.app() / "Contents/Resources/added", "text");
    EXPECT_THAT(NotaryBench::judge(bench.zip()).log,
        HasSubstr("a sealed resource is missing or invalid; file added: Contents/Resources/added"));
}

TEST(LocalService, LooksIntoImagesAndArchivesInOneAnother)
{
    const NotaryBench bench;
    const fs::path folder = bench.folder() / "nest";
    fs::create_directory(folder);
    fs::copy_file(bench.sample.executable(), folder / "tool");
    fs::create_directory(bench.folder() / "outer");
    archive::makeZip(folder, bench.folder() / "outer/inner.jar", {});
    putContent(bench.folder() / "outer/broken.jar", "PK\3\4 and nothing else");
    bench.sign(bench.app());
    fs::rename(bench.image(), bench.folder() / "outer/App.dmg");
    const fs::path zip = bench.folder() / "outer.zip";
    archive::makeZip(bench.folder() / "outer", zip, {});

    const notary::Verdict verdict = NotaryBench::judge(zip);
    EXPECT_FALSE(verdict.accepted);
    for (const std::string& complaint : complaints(verdict))
        EXPECT_THAT(complaint, HasSubstr("outer.zip/inner.jar/tool: "));
    EXPECT_FALSE(complaints(verdict).empty());
    EXPECT_THAT(verdict.log, HasSubstr("outer.zip/broken.jar")); // but only as a warning

    fs::remove(bench.folder() / "outer/inner.jar");
    archive::makeZip(bench.folder() / "outer", zip, {});
    const notary::Verdict second = NotaryBench::judge(zip);
    EXPECT_TRUE(second.accepted) << second.log;
    EXPECT_THAT(second.log, HasSubstr("\"outer.zip/App.dmg/Hello Vandor.app\""));
}

TEST(LocalService, JudgesAnImageWithItsSignature)
{
    const NotaryBench bench;
    bench.sign(bench.app());
    const fs::path image = bench.image();
    EXPECT_TRUE(NotaryBench::judge(image).accepted); // none is demanded
    bench.sign(image, {.flags = 0});
    const notary::Verdict verdict = NotaryBench::judge(image);
    EXPECT_TRUE(verdict.accepted) << verdict.log;
    EXPECT_EQ(json::parse(verdict.log)["ticketContents"][0]["path"], "App.dmg");

    bench.sign(image, {.stamped = false, .flags = 0});
    EXPECT_THAT(complaints(NotaryBench::judge(image)),
        UnorderedElementsAre("App.dmg: The signature does not include a secure timestamp."));
    flip(image, fs::file_size(image) - 512 - 8);
    EXPECT_FALSE(NotaryBench::judge(image).accepted);
}

TEST(LocalService, RefusesOtherFiles)
{
    const NotaryBench bench;
    for (const std::string content : {"", "PK", "some text", "xar!\0\x1C and more"}) {
        putContent(bench.folder() / "file", content);
        EXPECT_THROW(NotaryBench::judge(bench.folder() / "file"), bytes::FormatError) << content;
    }
    // Something that only begins like an archive is one that fails.
    putContent(bench.folder() / "file", "PK\3\4 and nothing else");
    EXPECT_THAT(complaints(NotaryBench::judge(bench.folder() / "file")),
        UnorderedElementsAre("file: The contents of the archive could not be extracted."));
}

} // namespace
