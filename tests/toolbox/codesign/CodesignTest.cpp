#include "tools/Codesign.h"
#include "SampleBundle.h"
#include "tools/Security.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

namespace {

namespace fs = std::filesystem;

/// The tool as its callers meet it: arguments in, two texts and a status out.
class Codesign : public testing::Test {
protected:
    Codesign() { ::setenv("VANDOR_STATE", state.c_str(), 1); }
    ~Codesign() override { ::unsetenv("VANDOR_STATE"); }

    int run(const std::vector<std::string>& arguments)
    {
        std::ostringstream outStream;
        std::ostringstream errStream;
        const int status = tools::codesign(arguments, outStream, errStream);
        out = outStream.str();
        err = errStream.str();
        return status;
    }

    SampleBundle sample;
    std::string state = sample.folder() / "state";
    std::string app = sample.app();
    std::string out, err;
};

TEST_F(Codesign, SaysWhatItDidAndWhatItFound)
{
    const std::vector<std::string> jane{"create-identity", "Jane Doe", "ABCDE12345"};
    std::ostringstream ignored;
    ASSERT_EQ(tools::security(jane, ignored, ignored), 0);
    const std::string entitlements = sample.folder() / "my.entitlements";
    putContent(entitlements,
        "<plist version=\"1.0\"><dict><key>com.apple.security.cs.allow-jit</key><true/></dict>"
        "</plist>");
    const std::string nested = sample.framework();
    struct Row {
        const char* name;
        std::vector<std::string> arguments;
        int status;
        std::string out, err;
    };
    const Row rows[] = {
        {"signing",
            {"--force", "--options", "runtime", "--deep", "--sign", "jane", "--verbose",
                "--entitlements", entitlements, app},
            0, "",
            app + ": replacing existing signature\n" + app
                + ": signed app bundle with Mach-O universal (x86_64 arm64) "
                  "[com.vandordmg.samples.hello]\n"},
        {"signing again unasked", {"-s", "jane", app}, 1, "", app + ": is already signed\n"},
        {"verifying in silence", {"--verify", app}, 0, "", ""},
        {"verifying", {"-vv", app}, 0, "",
            app + ": valid on disk\n" + app + ": satisfies its Designated Requirement\n"},
        {"following nested code", {"--verify", "-vv", app}, 0, "",
            "--prepared:" + nested + "\n--validated:" + nested + "\n" + app + ": valid on disk\n"
                + app + ": satisfies its Designated Requirement\n"},
        {"a requirement that holds", {"-v", "-R=anchor apple generic", "--verify", app}, 0, "",
            app + ": valid on disk\n" + app + ": satisfies its Designated Requirement\n" + app
                + ": explicit requirement satisfied\n"},
        {"one that doesn't", {"--verify", "-R=identifier other", app}, 3, "",
            "test-requirement: code failed to satisfy specified code requirement(s)\n"},
        {"showing", {"-d", "-r-", app}, 0,
            "designated => identifier \"com.vandordmg.samples.hello\" and anchor apple generic and "
            "certificate 1[field.1.2.840.113635.100.6.2.6] /* exists */ and certificate "
            "leaf[field.1.2.840.113635.100.6.1.13] /* exists */ and certificate leaf[subject.OU] = "
            "ABCDE12345\n",
            "Executable=" + sample.executable().string() + "\n"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(run(row.arguments), row.status) << row.name;
        EXPECT_EQ(out, row.out) << row.name;
        EXPECT_EQ(err, row.err) << row.name;
    }
    EXPECT_EQ(run({"-d", "--entitlements", "-", app}), 0);
    EXPECT_EQ(out, contentOf(entitlements));

    putContent(sample.app() / "Contents/Resources/new", "x");
    EXPECT_EQ(run({"--verify", "-v", app}), 1);
    EXPECT_EQ(out, "file added: " + (sample.app() / "Contents/Resources/new").string() + "\n");
    EXPECT_EQ(err, app + ": a sealed resource is missing or invalid\n");
}

TEST_F(Codesign, NeedsNoHomeToSignForNobodyAndToVerify)
{
    ::setenv("VANDOR_STATE", "/dev/null/state", 1);
    EXPECT_EQ(run({"--force", "--deep", "--sign", "-", app}), 0) << err;
    EXPECT_EQ(run({"--verify", "--deep", app}), 0) << err;
    EXPECT_EQ(run({"-d", app}), 0) << err;
    EXPECT_EQ(run({"--force", "--sign", "Jane", app}), 1);
    EXPECT_TRUE(err.starts_with("codesign: Not a directory (/dev/null/state")) << err;
}

TEST_F(Codesign, RefusesWhatItCantDoInOneLine)
{
    const std::string text = sample.folder() / "notes.txt";
    putContent(text, "neither code nor property list");
    const std::string none = sample.folder() / "none";
    struct Row {
        std::vector<std::string> arguments;
        int status;
        std::string err; // its first line
    };
    const Row rows[] = {
        {{"-s", "-", text}, 1,
            text
                + ": only Mach-O files, bundles of them and disk images can be signed on this "
                  "host"},
        {{"-s", "-", none}, 1, none + ": No such file or directory"},
        {{"-s", "Nobody", app}, 1, "Nobody: no identity found"},
        {{"-s", "-", "--entitlements", none, app}, 1, none + ": No such file or directory"},
        {{"-s", "-", "--entitlements", text, app}, 1, text + ": invalid entitlement plist"},
        {{"--remove-signature", text}, 1, text + ": code object is not signed at all"},
        {{"-s", "-", "--preserve-metadata=entitlements", app}, 2,
            "codesign: --preserve-metadata is not supported on this host"},
        {{"-v", "-a", "arm64", app}, 2, "codesign: --architecture is not supported on this host"},
        {{"-s", "-", "-o", "bogus", app}, 2, "codesign: --options bogus: no such flags"},
        {{"-s", "-", "-o", "0x", app}, 2, "codesign: --options 0x: no such flags"},
        {{"-d"}, 2, "codesign: no path was given"},
        {{app}, 2, "codesign: say what to do: --sign, --verify, --display"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(run(row.arguments), row.status) << row.err;
        EXPECT_EQ(err.substr(0, err.find('\n')), row.err);
        EXPECT_EQ(out, "");
    }
}

} // namespace
