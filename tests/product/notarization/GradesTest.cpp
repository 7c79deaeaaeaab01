#include "Shipped.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>

namespace {

namespace fs = std::filesystem;

/// Each row takes a copy of what came before the shipping or out of it, and changes it.
class Grades : public testing::Test {
protected:
    int codesign(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), Rehearsal::tool("/usr/bin/codesign"));
        return user.run(arguments);
    }
    int vandorDo(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), vandor());
        return user.run(arguments);
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
    std::string states() const
    {
        std::string letters;
        for (const nlohmann::json& event : user.events()) {
            if (event.at("event") == "check")
                letters += event.at("state").get<std::string>().front();
        }
        return letters;
    }

    Rehearsal& user = Shipped::user();
};

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
            [this](const std::string& app) {
                fs::remove_all(app + "/Contents/_CodeSignature");
                EXPECT_EQ(codesign({"--remove-signature", app}), 0) << user.errors;
            },
            "fss", ofSignature},
        {"ad hoc", false,
            [this](const std::string& app) {
                EXPECT_EQ(codesign({"--force", "--deep", "--sign", "-", app}), 0);
            },
            "fss", ofSignature},
        {"signed, not notarized", false,
            [this](const std::string& app) {
                std::ofstream(app + "/Contents/Resources/added.txt") << "another version";
                EXPECT_EQ(vandorDo({"sign", app, "--identity", "Jane"}), 0) << user.errors;
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
        const fs::path app = user.folder() / "case" / "Hello Vandor.app";
        fs::remove_all(app);
        fs::create_directories(app.parent_path());
        fs::copy(row.isOfShipped ? user.app() : fs::path(SAMPLE_APP), app,
            fs::copy_options::recursive | fs::copy_options::copy_symlinks);
        row.change(app.string());
        const bool isReady = row.states == "ppp";
        EXPECT_EQ(vandorDo({"inspect", app.string(), "--json"}), isReady ? 0 : 1) << row.name;
        EXPECT_EQ(states(), row.states) << row.name << "\n" << user.output;
        EXPECT_EQ(user.events().back().at("reason"), row.reason) << row.name;
    }
}

TEST_F(Grades, OfImages)
{
    struct Row {
        const char* name;
        bool isOfShipped; // else without its signature
        std::function<void(const std::string& image)> change;
        std::string states; // container, volume, window, signature, ticket, Gatekeeper
        std::string authority;
    };
    const Row rows[] = {
        {"shipped", true, [](const std::string&) {}, "pppppp", "appleNotarized"},
        {"unsigned", false, [](const std::string&) {}, "pppfff", "unsigned"},
        {"ad hoc", false,
            [this](const std::string& image) {
                EXPECT_EQ(codesign({"--sign", "-", image}), 0);
            },
            "ppppff", "unsigned"},
        {"signed, not notarized", false,
            [this](const std::string& image) {
                EXPECT_EQ(vandorDo({"sign", image, "--identity", "Jane"}), 0) << user.errors;
            },
            "ppppff", "unsigned"},
        {"notarized, not stapled", false,
            [this](const std::string& image) {
                EXPECT_EQ(vandorDo({"sign", image, "--identity", "Jane"}), 0) << user.errors;
                EXPECT_EQ(user.run({Rehearsal::tool("/usr/bin/xcrun"), "notarytool", "submit",
                              image, "--keychain-profile", "local", "--wait"}),
                    0)
                    << user.errors;
            },
            "ppppfp", "appleNotarized"},
        {"tampered with", true, [](const std::string& image) { flipByte(image, 1000); }, "fssfpf",
            "unsigned"},
    };
    for (const Row& row : rows) {
        const fs::path image = user.folder() / "case.dmg";
        fs::copy_file(user.image(), image, fs::copy_options::overwrite_existing);
        if (!row.isOfShipped) {
            ASSERT_EQ(codesign({"--remove-signature", image.string()}), 0) << user.errors;
        }
        row.change(image.string());
        const bool isReady = row.states == "pppppp";
        EXPECT_EQ(vandorDo({"verify", image.string(), "--json"}), isReady ? 0 : 1) << row.name;
        EXPECT_EQ(states(), row.states) << row.name << "\n" << user.output;
        EXPECT_EQ(user.events().back().at("authority"), row.authority) << row.name;
    }
}

TEST_F(Grades, WhatTheAuthorityRefusesIsNamedFileByFile)
{
    const fs::path app = user.folder() / "Plain.app";
    fs::copy(SAMPLE_APP, app, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    EXPECT_EQ(vandorDo({"notarize", app.string(), "--profile", "local", "--json"}), 1);
    const nlohmann::json result = user.events().back();
    EXPECT_EQ(result.at("step"), "the submission");
    const std::string said = result.at("said");
    EXPECT_NE(said.find("status: Invalid"), std::string::npos) << said;
    EXPECT_NE(said.find("Contents/MacOS/Hello Vandor: The binary is not signed with a valid "
                        "Developer ID certificate."),
        std::string::npos)
        << said;
}

} // namespace
