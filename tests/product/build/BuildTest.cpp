#include "ProgramRun.h"
#include "hfsplus/Names.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>

namespace {

namespace fs = std::filesystem;

/// What a folder holds: for each path its bytes, or where its link points. Names are brought to
/// the form in which a volume keeps them.
using Tree = std::map<std::u16string, std::string>;

Tree treeOf(const fs::path& root)
{
    Tree tree;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        std::u16string name;
        for (const fs::path& part : entry.path().lexically_relative(root))
            name += u"/" + hfsplus::nameFromHost(part.string());
        if (entry.is_symlink()) {
            tree[name] = "-> " + fs::read_symlink(entry.path()).string();
        } else if (entry.is_regular_file()) {
            std::ifstream in(entry.path(), std::ios::binary);
            tree[name] = std::string(std::istreambuf_iterator<char>(in), {});
        } else {
            tree[name] = "folder";
        }
    }
    return tree;
}

class BuildTest : public testing::Test {
protected:
    fs::path folder() const { return m_folder.path(); }

    int run(const std::vector<std::string>& command)
    {
        ProgramRun program(command, folder());
        const int status = program.wait();
        m_output = program.output();
        m_errors = program.errors();
        return status;
    }

    /// The content of an image, read by 7-Zip.
    fs::path extracted(const fs::path& image, const std::string& volume)
    {
        return extracted(image, volume, folder() / ("content-" + image.stem().string()));
    }
    fs::path extracted(const fs::path& image, const std::string& volume, const fs::path& into)
    {
        EXPECT_EQ(run({"7zz", "x", "-snld", "-o" + into.string(), image.string()}), 0) << m_output;
        return into / volume;
    }

    TemporaryFolder m_folder;
    std::string m_output, m_errors;
};

TEST_F(BuildTest, TheSampleComesOutWholeAndStyled)
{
    const fs::path image = folder() / "Hello Vandor.dmg";
    ASSERT_EQ(run({vandor(), "build", SAMPLE_APP, "--background", SAMPLE_BACKGROUND,
                  "--volume-name", "Hello Vandor", "-o", image.string()}),
        0)
        << m_errors;
    EXPECT_EQ(m_output, image.string() + "\n");
    EXPECT_FALSE(fs::exists(folder() / ".local/share/vandor-dmg/Volumes/Hello Vandor"));

    EXPECT_EQ(run({"7zz", "t", "-tdmg", image.string()}), 0) << m_output;
    EXPECT_EQ(m_output.find("WARNING"), std::string::npos) << m_output;

    const fs::path content = extracted(image, "Hello Vandor");
    EXPECT_EQ(namesIn(content),
        (std::vector<std::string>{
            ".DS_Store", ".VolumeIcon.icns", ".background", "Applications", "Hello Vandor.app"}));
    EXPECT_EQ(treeOf(content / "Hello Vandor.app"), treeOf(SAMPLE_APP));
    EXPECT_EQ(namesIn(content / ".background"), std::vector<std::string>{"background.png"});

    // 7-Zip keeps links inside the folder when it extracts; what the image says is the stream.
    ASSERT_EQ(run({"7zz", "x", "-so", image.string(), "Hello Vandor/Applications"}), 0);
    EXPECT_EQ(m_output, "/Applications");

    ASSERT_EQ(run({hdiutil(), "verify", image.string()}), 0) << m_errors;
}

TEST_F(BuildTest, OneFlippedByteIsNoticedByEverybody)
{
    const fs::path image = folder() / "out.dmg";
    ASSERT_EQ(run({vandor(), "build", SAMPLE_APP, "--quiet", "-o", image.string()}), 0);
    std::fstream file(image, std::ios::in | std::ios::out | std::ios::binary);
    file.seekg(2000);
    const char byte = static_cast<char>(file.get());
    file.seekp(2000);
    file.put(static_cast<char>(byte ^ 0x10));
    file.close();
    EXPECT_EQ(run({hdiutil(), "verify", image.string()}), 1);
    EXPECT_NE(run({"7zz", "t", "-tdmg", image.string()}), 0);
}

TEST_F(BuildTest, TwoOfOneVolumeNameAtOnceBothSucceed)
{
    const fs::path first = folder() / "first.dmg";
    const fs::path second = folder() / "second.dmg";
    ProgramRun one({vandor(), "build", SAMPLE_APP, "-o", first.string()}, folder());
    ProgramRun two({vandor(), "build", SAMPLE_APP, "-o", second.string()}, folder());
    EXPECT_EQ(one.wait(), 0) << one.errors();
    EXPECT_EQ(two.wait(), 0) << two.errors();
    for (const fs::path& image : {first, second})
        EXPECT_EQ(run({hdiutil(), "verify", image.string()}), 0) << m_errors;
}

TEST_F(BuildTest, ManyFilesTakeLittleMemory)
{
    // In memory where the host has room for that: the disk's speed is not what is looked at.
    const TemporaryFolder fast(fs::is_directory("/dev/shm") ? "/dev/shm" : folder());
    const fs::path app = fast.path() / "Many files.app";
    const std::string line(700, 'x');
    for (int i = 0; i < 20000; ++i) {
        const fs::path file = app / "Contents" / "Resources" / std::to_string(i / 200)
            / ("entry " + std::to_string(i) + ".txt");
        if (i % 200 == 0)
            fs::create_directories(file.parent_path());
        std::ofstream(file) << i << line;
    }
    const fs::path image = folder() / "many.dmg";
    ProgramRun build(
        {vandor(), "build", app.string(), "--volume-name", "Many", "--quiet", "-o", image.string()},
        fast.path());
    ASSERT_EQ(build.wait(), 0) << build.errors();
    EXPECT_LT(ProgramRun::peakMemory(), 200U << 20);
    EXPECT_EQ(
        treeOf(extracted(image, "Many", fast.path() / "content") / "Many files.app"), treeOf(app));
}

TEST_F(BuildTest, NamesThatHurtElsewhereWorkOrSayWhy)
{
    struct Row {
        const char* name;
        std::string app, volume;
        int status;
    };
    const Row rows[] = {
        {"accents, blanks, an apostrophe, another script", "L'été à 東京 $HOME.app",
            "Vol. d'été \\u 1", 1},
        {"the same without a backslash", "L'été à 東京 $HOME `x`.app", "Vol. d'été & 東京", 0},
        {"a quotation mark in the volume's name", "Plain.app", "My \"App\"", 1},
        {"a quotation mark in the application's name", "5\" disk.app", "Plain", 1},
    };
    std::vector<std::unique_ptr<ProgramRun>> runs;
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const fs::path app = folder() / rows[i].app;
        fs::copy(SAMPLE_APP, app, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
        runs.push_back(std::make_unique<ProgramRun>(
            std::vector<std::string>{vandor(), "build", app.string(), "--volume-name",
                rows[i].volume, "-o", (folder() / (std::to_string(i) + ".dmg")).string()},
            folder()));
    }
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(runs[i]->wait(), rows[i].status) << rows[i].name << "\n" << runs[i]->errors();
        const fs::path image = folder() / (std::to_string(i) + ".dmg");
        EXPECT_EQ(fs::exists(image), rows[i].status == 0) << rows[i].name;
        if (rows[i].status != 0) {
            EXPECT_NE(
                runs[i]->errors().find("AppleScript customization failed: "), std::string::npos)
                << rows[i].name << "\n"
                << runs[i]->errors();
        }
    }
}

} // namespace
