#include "ProgramRun.h"
#include "hfsplus/Names.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <memory>

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

/// A name that a careless program would stumble over, and how its build ends.
struct NameRow {
    const char* name;
    std::string app, volume;
    int status;
};
const std::vector<NameRow> nameRows{
    {"a backslash in the volume's name", "L'été à 東京 $HOME.app", "Vol. d'été \\u 1", 1},
    {"accents, blanks, an apostrophe, other scripts", "L'été à 東京 $HOME `x` 📦.app",
        "Vol. d'été & 東京 📦", 0},
    {"a quotation mark in the volume's name", "Plain.app", "My \"App\"", 1},
    {"a quotation mark in the application's name", "5\" disk.app", "Plain", 1},
};

/// Whole builds. Most of their time is the product's own waiting, so all of them run at once.
class Builds {
public:
    Builds()
    {
        makeManyFiles();
        start("many", many().string(), {"--volume-name", "Many"}, fast());
        start("sample", SAMPLE_APP,
            {"--background", SAMPLE_BACKGROUND, "--volume-name", "Hello Vandor"}, folder());
        start("first", SAMPLE_APP, {}, folder());
        start("second", SAMPLE_APP, {}, folder());
        for (std::size_t i = 0; i < nameRows.size(); ++i) {
            const fs::path app = folder() / nameRows[i].app;
            fs::copy(
                SAMPLE_APP, app, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
            start(std::to_string(i), app.string(), {"--volume-name", nameRows[i].volume}, folder());
        }
    }

    const fs::path& folder() const { return m_folder.path(); }
    const fs::path& fast() const { return m_fast.path(); }
    fs::path image(const std::string& name) const { return folder() / (name + ".dmg"); }
    ProgramRun& run(const std::string& name) { return *m_runs.at(name); }
    /// An application of 20,000 files.
    fs::path many() const { return fast() / "Many files.app"; }

private:
    void start(const std::string& name, const std::string& app, std::vector<std::string> options,
        const fs::path& home)
    {
        options.insert(options.begin(), {vandor(), "build", app, "-o", image(name).string()});
        m_runs[name] = std::make_unique<ProgramRun>(options, home);
    }

    void makeManyFiles() const
    {
        const std::string line(700, 'x');
        for (int i = 0; i < 20000; ++i) {
            const fs::path file = many() / "Contents" / "Resources" / std::to_string(i / 200)
                / ("entry " + std::to_string(i) + ".txt");
            if (i % 200 == 0)
                fs::create_directories(file.parent_path());
            std::ofstream(file) << i << line;
        }
    }

    TemporaryFolder m_folder;
    // In memory where the host has room for that: the disk's speed is not what is looked at.
    TemporaryFolder m_fast{fs::is_directory("/dev/shm") ? "/dev/shm" : m_folder.path()};
    std::map<std::string, std::unique_ptr<ProgramRun>> m_runs;
};

class BuildTest : public testing::Test {
protected:
    static void SetUpTestSuite() { builds = std::make_unique<Builds>(); }
    static void TearDownTestSuite() { builds.reset(); }

    int run(const std::vector<std::string>& command)
    {
        ProgramRun program(command, builds->folder());
        const int status = program.wait();
        m_output = program.output();
        m_errors = program.errors();
        return status;
    }

    /// The content of an image, read by 7-Zip.
    fs::path extracted(const fs::path& image, const std::string& volume, const fs::path& into)
    {
        EXPECT_EQ(run({"7zz", "x", "-snld", "-o" + into.string(), image.string()}), 0) << m_output;
        return into / volume;
    }

    static std::unique_ptr<Builds> builds;
    std::string m_output, m_errors;
};

std::unique_ptr<Builds> BuildTest::builds;

TEST_F(BuildTest, TheSampleComesOutWholeAndStyled)
{
    ProgramRun& build = builds->run("sample");
    const fs::path image = builds->image("sample");
    ASSERT_EQ(build.wait(), 0) << build.errors();
    EXPECT_EQ(build.output(), image.string() + "\n");
    EXPECT_FALSE(fs::exists(builds->folder() / ".local/share/vandor-dmg/Volumes/Hello Vandor"));

    EXPECT_EQ(run({"7zz", "t", "-tdmg", image.string()}), 0) << m_output;
    EXPECT_EQ(m_output.find("WARNING"), std::string::npos) << m_output;

    const fs::path content = extracted(image, "Hello Vandor", builds->folder() / "content");
    EXPECT_EQ(namesIn(content),
        (std::vector<std::string>{
            ".DS_Store", ".VolumeIcon.icns", ".background", "Applications", "Hello Vandor.app"}));
    EXPECT_EQ(treeOf(content / "Hello Vandor.app"), treeOf(SAMPLE_APP));
    EXPECT_EQ(namesIn(content / ".background"), std::vector<std::string>{"background.png"});

    // 7-Zip keeps links inside the folder when it extracts; what the image says is the stream.
    ASSERT_EQ(run({"7zz", "x", "-so", image.string(), "Hello Vandor/Applications"}), 0);
    EXPECT_EQ(m_output, "/Applications");

    ASSERT_EQ(run({hdiutil(), "verify", image.string()}), 0) << m_errors;
    EXPECT_EQ(m_errors.find("harmless"), std::string::npos) << m_errors;
}

TEST_F(BuildTest, TwoOfOneVolumeNameAtOnceBothSucceed)
{
    for (const std::string name : {"first", "second"}) {
        EXPECT_EQ(builds->run(name).wait(), 0) << builds->run(name).errors();
        EXPECT_EQ(run({hdiutil(), "verify", builds->image(name).string()}), 0) << m_errors;
    }
    // Nobody needs the second one any more.
    const fs::path image = builds->image("second");
    std::fstream file(image, std::ios::in | std::ios::out | std::ios::binary);
    file.seekg(2000);
    const char byte = static_cast<char>(file.get());
    file.seekp(2000);
    file.put(static_cast<char>(byte ^ 0x10));
    file.close();
    EXPECT_EQ(run({hdiutil(), "verify", image.string()}), 1) << "one flipped byte is noticed";
    EXPECT_NE(run({"7zz", "t", "-tdmg", image.string()}), 0);
}

TEST_F(BuildTest, NamesThatHurtElsewhereWorkOrSayWhy)
{
    for (std::size_t i = 0; i < nameRows.size(); ++i) {
        const NameRow& row = nameRows[i];
        ProgramRun& build = builds->run(std::to_string(i));
        EXPECT_EQ(build.wait(), row.status) << row.name << "\n" << build.errors();
        EXPECT_EQ(fs::exists(builds->image(std::to_string(i))), row.status == 0) << row.name;
        const bool isRefused =
            build.errors().find("AppleScript customization failed: ") != std::string::npos;
        EXPECT_EQ(isRefused, row.status != 0) << row.name << "\n" << build.errors();
    }
}

TEST_F(BuildTest, ManyFilesTakeLittleMemory)
{
    ProgramRun& build = builds->run("many");
    ASSERT_EQ(build.wait(), 0) << build.errors();
    EXPECT_LT(ProgramRun::peakMemory(), 200U << 20);
    const fs::path content = extracted(builds->image("many"), "Many", builds->fast() / "content");
    EXPECT_EQ(treeOf(content / "Many files.app"), treeOf(builds->many()));
}

} // namespace
