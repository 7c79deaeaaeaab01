#include "ProgramRun.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace {

namespace fs = std::filesystem;

/// The user's own keychain lies in the test's folder, which is the programs' home.
class SigningTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(run({tool("security"), "create-identity", "Jane d'Oe", "ABCDE12345"}), 0)
            << m_errors;
    }

    fs::path folder() const { return m_folder.path(); }
    static std::string tool(const char* name)
    {
        return TOOLBOX_DIR "/usr/bin/" + std::string(name);
    }

    int run(const std::vector<std::string>& command)
    {
        ProgramRun program(command, folder());
        const int status = program.wait();
        m_output = program.output();
        m_errors = program.errors();
        return status;
    }

    TemporaryFolder m_folder;
    std::string m_output, m_errors;
};

TEST_F(SigningTest, AnApplicationIsSignedByTheUsersIdentity)
{
    ASSERT_EQ(run({vandor(), "identities"}), 0) << m_errors;
    EXPECT_NE(m_output.find("Developer ID Application: Jane d'Oe (ABCDE12345)"), std::string::npos);

    // A name that a careless shell command would take apart.
    const fs::path app = folder() / "It's \"my\" $HOME `app`.app";
    fs::copy(SAMPLE_APP, app, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    ASSERT_EQ(run({vandor(), "sign", app.string()}), 0) << m_errors;
    EXPECT_EQ(run({tool("codesign"), "--verify", "--deep", "--strict", app.string()}), 0)
        << m_errors;

    const fs::path executable = app / "Contents/MacOS/Hello Vandor";
    EXPECT_EQ(run({"python3", CHECK_CODE_HASHES, app.string(), executable.string()}), 0)
        << m_errors;
    std::fstream(executable, std::ios::in | std::ios::out | std::ios::binary).seekp(0x4100) << 'x';
    EXPECT_NE(run({"python3", CHECK_CODE_HASHES, app.string(), executable.string()}), 0);
    const char* readers[] = {"llvm-objdump", "llvm-otool"};
    for (const char* reader : readers) {
        const std::string path = std::string(LLVM_BIN_DIR "/") + reader;
        EXPECT_EQ(
            run(reader == readers[0] ? std::vector<std::string>{path, "--macho", "--all-headers",
                    executable.string()}
                                     : std::vector<std::string>{path, "-l", executable.string()}),
            0)
            << m_errors;
        EXPECT_NE(m_output.find("LC_CODE_SIGNATURE"), std::string::npos) << reader;
    }
}

TEST_F(SigningTest, AnImageIsSignedAndStaysAnImage)
{
    const fs::path image = folder() / "My App 1.2.dmg";
    ASSERT_EQ(run({hdiutil(), "create", "-srcfolder", SAMPLE_APP, image.string()}), 0) << m_errors;
    ASSERT_EQ(run({vandor(), "sign", image.string(), "--identity", "jane"}), 0) << m_errors;
    EXPECT_NE(m_errors.find("✅ Signing Successful!"), std::string::npos);
    EXPECT_EQ(run({"7zz", "t", "-tdmg", image.string()}), 0) << m_output;
    EXPECT_EQ(run({hdiutil(), "verify", image.string()}), 0) << m_errors;
    EXPECT_EQ(run({tool("codesign"), "--verify", "--verbose", image.string()}), 0) << m_errors;
    // Again, over the signature that is there.
    EXPECT_EQ(run({vandor(), "sign", image.string()}), 0) << m_errors;
    EXPECT_EQ(run({tool("codesign"), "--verify", image.string()}), 0) << m_errors;
}

TEST_F(SigningTest, APlanTouchesNothingAndNeedsNobody)
{
    const fs::path app = folder() / "Plain.app";
    fs::copy(SAMPLE_APP, app, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    ASSERT_EQ(run({vandor(), "sign", "--plan", app.string()}), 0) << m_errors;
    EXPECT_LT(m_output.find("Greeting.framework"), m_output.find("[com.vandordmg.samples.hello]"));
    EXPECT_FALSE(fs::exists(app / "Contents/_CodeSignature"));

    EXPECT_EQ(run({vandor(), "sign", "--identity", "nobody", app.string()}), 2);
    EXPECT_FALSE(fs::exists(app / "Contents/_CodeSignature"));
}

} // namespace
