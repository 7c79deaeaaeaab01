#include "Rehearsal.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>

namespace {

namespace fs = std::filesystem;

/// One way for all: each row takes copies of what it left at its stages.
class Grades : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        s_user = new Rehearsal;
        s_unsigned = s_user->folder() / "unsigned.dmg";
        ASSERT_EQ(s_user->run(s_user->shipping()), 0) << s_user->errors;
        ASSERT_EQ(s_user->run({vandor(), "build", s_user->app().string(), "--quiet", "-o",
                      s_unsigned.string()}),
            0)
            << s_user->errors;
    }
    static void TearDownTestSuite() { delete s_user; }

    static int codesign(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), Rehearsal::tool("/usr/bin/codesign"));
        return s_user->run(arguments);
    }
    static int vandorDo(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), vandor());
        return s_user->run(arguments);
    }
    static void flipByte(const fs::path& file, std::streamoff place)
    {
        std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
        stream.seekg(place);
        const char byte = static_cast<char>(stream.get() ^ 0x55);
        stream.seekp(place);
        stream.put(byte);
    }
    /// The states of the checks, a letter each: passed, failed, skipped.
    static std::string states()
    {
        std::string letters;
        for (const nlohmann::json& event : s_user->events()) {
            if (event.at("event") == "check")
                letters += event.at("state").get<std::string>().front();
        }
        return letters;
    }

    static Rehearsal* s_user;
    static fs::path s_unsigned;
};
Rehearsal* Grades::s_user = nullptr;
fs::path Grades::s_unsigned;

TEST_F(Grades, OfApplications)
{
    struct Row {
        const char* name;
        bool isOfShipped; // else of the application as it came
        std::function<void(const std::string& app)> change;
        std::string states; // signature, notarization, staple
        nlohmann::json reason;
    };
    const nlohmann::json ofSignature = "Signature verification failed.";
    const nlohmann::json ofNotarization = "Notarization check (spctl) failed.";
    const Row rows[] = {
        {"shipped", true, [](const std::string&) {}, "ppp", nullptr},
        {"unsigned", false,
            [](const std::string& app) {
                fs::remove_all(app + "/Contents/_CodeSignature");
                EXPECT_EQ(codesign({"--remove-signature", app}), 0) << s_user->errors;
            },
            "fss", ofSignature},
        {"ad hoc", false,
            [](const std::string& app) {
                EXPECT_EQ(codesign({"--force", "--deep", "--sign", "-", app}), 0);
            },
            "fss", ofSignature},
        {"signed, not notarized", false,
            [](const std::string& app) {
                std::ofstream(app + "/Contents/Resources/added.txt") << "another version";
                EXPECT_EQ(vandorDo({"sign", app, "--identity", "Jane"}), 0) << s_user->errors;
            },
            "pfs", ofNotarization},
        {"tampered with", true,
            [](const std::string& app) {
                std::ofstream(app + "/Contents/Resources/hello.icns", std::ios::app) << "more";
                std::ofstream(app + "/Contents/Resources/added.txt") << "more";
            },
            "pfs", ofNotarization},
        {"notarized, not stapled", true,
            [](const std::string& app) { fs::remove(app + "/Contents/CodeResources"); }, "ppf",
            "Staple verification failed."},
    };
    for (const Row& row : rows) {
        const fs::path app = s_user->folder() / "case" / "Hello Vandor.app";
        fs::remove_all(app);
        fs::create_directories(app.parent_path());
        fs::copy(row.isOfShipped ? s_user->app() : fs::path(SAMPLE_APP), app,
            fs::copy_options::recursive | fs::copy_options::copy_symlinks);
        row.change(app.string());
        const bool isReady = row.states == "ppp";
        EXPECT_EQ(vandorDo({"inspect", app.string(), "--json"}), isReady ? 0 : 1) << row.name;
        EXPECT_EQ(states(), row.states) << row.name << "\n" << s_user->output;
        EXPECT_EQ(s_user->events().back().at("reason"), row.reason) << row.name;
    }
}

TEST_F(Grades, OfImages)
{
    struct Row {
        const char* name;
        bool isOfShipped; // else of an image that nobody signed
        std::function<void(const std::string& image)> change;
        std::string states; // container, volume, window, signature, ticket, Gatekeeper
        std::string authority;
    };
    const Row rows[] = {
        {"shipped", true, [](const std::string&) {}, "pppppp", "appleNotarized"},
        {"unsigned", false, [](const std::string&) {}, "pppfff", "unsigned"},
        {"ad hoc", false,
            [](const std::string& image) {
                EXPECT_EQ(codesign({"--sign", "-", image}), 0);
            },
            "ppppff", "unsigned"},
        {"signed, not notarized", false,
            [](const std::string& image) {
                EXPECT_EQ(vandorDo({"sign", image, "--identity", "Jane"}), 0) << s_user->errors;
            },
            "ppppff", "unsigned"},
        {"notarized, not stapled", false,
            [](const std::string& image) {
                EXPECT_EQ(vandorDo({"sign", image, "--identity", "Jane"}), 0) << s_user->errors;
                EXPECT_EQ(s_user->run({Rehearsal::tool("/usr/bin/xcrun"), "notarytool", "submit",
                              image, "--keychain-profile", "local", "--wait"}),
                    0)
                    << s_user->errors;
            },
            "ppppfp", "appleNotarized"},
        {"tampered with", true, [](const std::string& image) { flipByte(image, 1000); }, "fssfpf",
            "unsigned"},
    };
    for (const Row& row : rows) {
        const fs::path image = s_user->folder() / "case.dmg";
        fs::copy_file(row.isOfShipped ? s_user->image() : s_unsigned, image,
            fs::copy_options::overwrite_existing);
        row.change(image.string());
        const bool isReady = row.states == "pppppp";
        EXPECT_EQ(vandorDo({"verify", image.string(), "--json"}), isReady ? 0 : 1) << row.name;
        EXPECT_EQ(states(), row.states) << row.name << "\n" << s_user->output;
        EXPECT_EQ(s_user->events().back().at("authority"), row.authority) << row.name;
    }
}

TEST_F(Grades, WhatTheAuthorityRefusesIsNamedFileByFile)
{
    const fs::path app = s_user->folder() / "Plain.app";
    fs::copy(SAMPLE_APP, app, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    EXPECT_EQ(vandorDo({"notarize", app.string(), "--profile", "local", "--json"}), 1);
    const nlohmann::json result = s_user->events().back();
    EXPECT_EQ(result.at("step"), "the submission");
    const std::string said = result.at("said");
    EXPECT_NE(said.find("status: Invalid"), std::string::npos) << said;
    EXPECT_NE(said.find("Contents/MacOS/Hello Vandor: The binary is not signed with a valid "
                        "Developer ID certificate."),
        std::string::npos)
        << said;
}

} // namespace
