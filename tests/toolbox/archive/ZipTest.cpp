#include "archive/CopyTree.h"
#include "archive/MakeZip.h"
#include "archive/UnpackZip.h"
#include "bytes/FormatError.h"
#include "macfile/AppleDouble.h"
#include "macfile/Metadata.h"

#include "../hfsplus/TemporaryFolder.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::vector<std::byte> bytesOf(std::string_view text)
{
    const auto view = std::as_bytes(std::span(text));
    return {view.begin(), view.end()};
}

/// Bytes that no codec can make shorter.
std::string noise(std::size_t length)
{
    std::minstd_rand random(1);
    std::string text;
    while (text.size() < length)
        text += static_cast<char>(random() >> 8);
    return text;
}

/// An application like those that are sent to the service.
fs::path sampleApplication(const TemporaryFolder& folder)
{
    const fs::path app = folder.path() / "Müller.app";
    folder.write("Müller.app/Contents/MacOS/Müller", noise(300'000));
    folder.write("Müller.app/Contents/empty", "");
    folder.write("Müller.app/Contents/Zoe\xcc\x88", "a decomposed name");
    folder.write("Müller.app/Contents/Framework/Versions/A/file", "framework");
    fs::create_directory_symlink("A", app / "Contents/Framework/Versions/Current");
    fs::create_symlink("/Applications", app / "Contents/away");
    fs::create_directory(app / "Contents/nothing inside");
    fs::permissions(app / "Contents/MacOS/Müller", fs::perms(0755));
    fs::permissions(app / "Contents/empty", fs::perms(0440));
    fs::permissions(app / "Contents/nothing inside", fs::perms(0700));
    macfile::Metadata metadata;
    metadata.setFinderFlags(macfile::finderFlag::customIcon, true);
    metadata.attributes["com.example.note"] = bytesOf("a note");
    macfile::writeMetadata(app, metadata);
    metadata.resourceFork = bytesOf(std::string(100'000, 'r')); // too long for an attribute
    macfile::writeMetadata(app / "Contents/empty", metadata);
    return app;
}

std::string describe(const fs::path& path)
{
    struct stat status { };
    ::lstat(path.c_str(), &status);
    const bool link = S_ISLNK(status.st_mode);
    const macfile::Metadata metadata = macfile::readMetadata(path);
    return std::to_string(status.st_mode) + " " + std::to_string(status.st_mtime) + " "
        + (link                           ? fs::read_symlink(path).string()
                : S_ISREG(status.st_mode) ? contentOf(path)
                                          : "folder")
        + " " + std::to_string(metadata.finder().flags) + " "
        + std::to_string(metadata.resourceFork.size()) + " "
        + std::to_string(metadata.attributes.size());
}

/// Everything below a folder, companions by what they say about their files.
std::vector<std::string> treeOf(const fs::path& folder)
{
    std::vector<std::string> all;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        if (!macfile::isCompanion(entry.path()))
            all.push_back(
                entry.path().lexically_relative(folder).string() + ": " + describe(entry.path()));
    std::ranges::sort(all);
    return all;
}

std::string outputOf(const std::string& command)
{
    std::string text;
    FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
    char piece[4096];
    while (const std::size_t count = ::fread(piece, 1, sizeof piece, pipe))
        text.append(piece, count);
    return ::pclose(pipe) == 0 ? text : "failed: " + text;
}

std::string quoted(const fs::path& path)
{
    return "'" + path.string() + "'";
}

/// A small zip archive as a hostile or careless program might write it: stored entries, no
/// checksums unless `python3` is asked for them.
fs::path madeByPython(const TemporaryFolder& folder, const std::string& statements)
{
    const fs::path zip = folder.path() / "made.zip";
    fs::remove(zip);
    const fs::path script = folder.write("make.py",
        R"(import zipfile, warnings
warnings.simplefilter('ignore')
def add(name, data, mode=0o100644, how=zipfile.ZIP_STORED):
    info = zipfile.ZipInfo(name)
    info.create_system = 3
    info.external_attr = mode << 16
    z.writestr(info, data, how)
z = zipfile.ZipFile(')"
            + zip.string() + "', 'w')\n" + statements + "\nz.close()\n");
    EXPECT_EQ(outputOf("python3 " + quoted(script)), "");
    return zip;
}

} // namespace

TEST(Zip, KeepsATreeAsItIs)
{
    struct Row {
        const char* name;
        archive::MetadataPlace place;
        const char* entry; // where the file's metadata lies
    };
    const Row rows[] = {
        {"metadata beside the files", archive::MetadataPlace::beside,
            "Müller.app/Contents/._empty"},
        {"metadata collected", archive::MetadataPlace::collected,
            "__MACOSX/Müller.app/Contents/._empty"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const TemporaryFolder folder;
        fs::create_directory(folder.path() / "source");
        const fs::path app = sampleApplication(folder);
        fs::rename(app, folder.path() / "source" / app.filename());
        const fs::path zip = folder.path() / "a.zip";
        archive::makeZip(folder.path() / "source" / app.filename(), zip,
            {.keepParent = true, .metadata = row.place});
        EXPECT_NE(
            outputOf("python3 -m zipfile -l " + quoted(zip)).find(row.entry), std::string::npos);
        archive::unpackZip(zip, folder.path() / "unpacked");
        EXPECT_EQ(treeOf(folder.path() / "unpacked"), treeOf(folder.path() / "source"));
        archive::makeZip(folder.path() / "unpacked" / app.filename(), folder.path() / "again.zip",
            {.keepParent = true, .metadata = row.place});
        EXPECT_EQ(contentOf(zip) == contentOf(folder.path() / "again.zip"), true)
            << "the same tree gives the same archive";
    }
}

TEST(CopyTree, KeepsATreeAsItIsAndFillsUpWhatIsThere)
{
    const TemporaryFolder folder;
    const fs::path app = sampleApplication(folder);
    fs::create_hard_link(app / "Contents/empty", app / "Contents/second name");
    const fs::path copy = folder.path() / "copy";
    archive::copyTree(app, copy / "deep" / app.filename());
    EXPECT_EQ(treeOf(copy / "deep" / app.filename()), treeOf(app));
    EXPECT_TRUE(fs::equivalent(copy / "deep" / app.filename() / "Contents/empty",
        copy / "deep" / app.filename() / "Contents/second name"));

    folder.write("copy/deep/Müller.app/Contents/mine", "stays");
    folder.write("copy/deep/Müller.app/Contents/MacOS/Müller", "goes");
    archive::copyTree(app, copy / "deep" / app.filename());
    EXPECT_EQ(contentOf(copy / "deep/Müller.app/Contents/mine"), "stays");
    fs::remove(copy / "deep/Müller.app/Contents/mine");
    EXPECT_EQ(treeOf(copy / "deep/Müller.app/Contents/MacOS"), treeOf(app / "Contents/MacOS"));

    archive::copyTree(app / "Contents/Zoe\xcc\x88", copy);
    archive::copyTree(app / "Contents/empty", copy / "other name");
    EXPECT_EQ(contentOf(copy / "Zoe\xcc\x88"), "a decomposed name");
    EXPECT_EQ(describe(copy / "other name"), describe(app / "Contents/empty"));
    archive::copyTree(app / "Contents/empty", copy / "plain", false);
    EXPECT_TRUE(macfile::readMetadata(copy / "plain").empty());
}

TEST(CopyTree, NeverWritesIntoWhatItReadsOrThroughALink)
{
    const TemporaryFolder folder;
    const fs::path app = sampleApplication(folder);
    const auto before = treeOf(app);
    for (const fs::path& target : {app, app / "Contents/..inside", app / "Contents/Framework"})
        EXPECT_THROW(archive::copyTree(app, target), std::system_error) << target;
    EXPECT_EQ(treeOf(app), before);

    fs::create_directories(folder.path() / "outside");
    fs::create_directories(folder.path() / "copy");
    fs::create_directory_symlink(folder.path() / "outside", folder.path() / "copy/Contents");
    EXPECT_THROW(archive::copyTree(app, folder.path() / "copy"), std::system_error);
    EXPECT_TRUE(fs::is_empty(folder.path() / "outside"));
}

TEST(Zip, OtherReadersAgree)
{
    const TemporaryFolder folder;
    const fs::path app = sampleApplication(folder);
    const fs::path zip = folder.path() / "a.zip";
    archive::makeZip(app, zip, {.keepParent = true});
    EXPECT_NE(outputOf("7zz t " + quoted(zip)).find("Everything is Ok"), std::string::npos);
    EXPECT_EQ(outputOf("python3 -c \"import zipfile,sys; z=zipfile.ZipFile(sys.argv[1]);"
                       "print(z.testzip(), z.namelist()[0]);"
                       "print(oct(z.getinfo('Müller.app/Contents/away').external_attr >> 16),"
                       "z.read('Müller.app/Contents/away').decode());"
                       "print(oct(z.getinfo('Müller.app/Contents/MacOS/Müller').external_attr >> "
                       "16))\" "
                  + quoted(zip)),
        "None Müller.app/\n0o120777 /Applications\n0o100755\n");

    std::string damaged = contentOf(zip);
    damaged[damaged.size() / 2] ^= 1; // in the middle of the only large file
    const fs::path copy = folder.write("damaged.zip", damaged);
    EXPECT_TRUE(outputOf("7zz t " + quoted(copy)).starts_with("failed"));
    EXPECT_THROW(archive::unpackZip(copy, folder.path() / "out"), bytes::FormatError);
}

TEST(Unzip, NothingLeavesItsFolder)
{
    struct Row {
        const char* name;
        const char* statements;
    };
    const Row rows[] = {
        {"a path upwards", "add('../escaped', 'x')"},
        {"a path upwards from inside", "add('a/../../escaped', 'x')"},
        {"an absolute path", "add('/tmp/../escaped', 'x')"},
        {"through a link", "add('link', '..', 0o120777)\nadd('link/escaped', 'x')"},
        {"through a link deeper down",
            "add('a/link', '../..', 0o120777)\nadd('a/link/b/escaped', 'x')"},
        {"a folder where a link is", "add('link', '..', 0o120777)\nadd('link/', '', 0o040777)"},
        {"a file in the place of a link", "add('f', '../escaped', 0o120777)\nadd('f', 'x')"},
        {"metadata through a link",
            "add('link', '..', 0o120777)\nadd('__MACOSX/link/._victim', "
            "b'\\0\\x05\\x16\\x07\\0\\2\\0\\0' + b'\\0'*18)"},
        {"metadata of what is above",
            "add('__MACOSX/../._victim', b'\\0\\x05\\x16\\x07\\0\\2\\0\\0' + b'\\0'*18)"},
        {"one name twice", "add('a', 'x')\nadd('a', 'y')"},
        {"a file and a folder of one name", "add('a', 'x')\nadd('a/b', 'y')"},
        {"a folder and a file of one name", "add('a/b', 'y')\nadd('a', 'x')"},
        {"a device", "add('a', '', 0o020666)"},
        {"too long a name", "add('a' * 5000, 'x')"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const TemporaryFolder folder;
        const fs::path zip = madeByPython(folder, row.statements);
        folder.write("outer/victim", "untouched");
        const auto before = treeOf(folder.path() / "outer");
        fs::create_directory(folder.path() / "outer/inner");
        EXPECT_ANY_THROW(archive::unpackZip(zip, folder.path() / "outer/inner"));
        fs::remove_all(folder.path() / "outer/inner");
        EXPECT_EQ(treeOf(folder.path() / "outer"), before);
    }
}

TEST(Unzip, NoMetadataReachesTheFolderAbove)
{
    const TemporaryFolder folder;
    const fs::path outer = folder.path() / "outer";
    fs::create_directories(outer / "inner");
    fs::permissions(outer, fs::perms(0500));
    macfile::Metadata metadata;
    metadata.setFinderFlags(macfile::finderFlag::invisible, true);
    metadata.attributes["com.example.note"] = bytesOf("a note");
    const auto raw = macfile::writeAppleDouble(metadata);
    std::ofstream(folder.path() / "double", std::ios::binary)
        .write(reinterpret_cast<const char*>(raw.data()), static_cast<std::streamsize>(raw.size()));
    const std::string source = "open(" + quoted(folder.path() / "double") + ", 'rb').read()";
    const fs::path zip = madeByPython(folder,
        "add('._..', " + source + ")\nadd('a/._..', " + source + ")\nadd('__MACOSX/._..', " + source
            + ")\nadd('._.', " + source + ")");
    archive::unpackZip(zip, outer / "inner");
    EXPECT_TRUE(macfile::readMetadata(outer).empty());
    EXPECT_EQ(fs::status(outer).permissions(), fs::perms(0500));
    EXPECT_EQ(fs::file_size(outer / "inner/a/._.."), raw.size()) << "a file like any other";
}

TEST(Unzip, HasLimits)
{
    const TemporaryFolder folder;
    const fs::path zip = madeByPython(folder,
        "add('zeros', b'\\0' * 3000000, how=zipfile.ZIP_DEFLATED)\nadd('b', 'x')\nadd('c', 'x')");
    archive::unpackZip(zip, folder.path() / "all");
    EXPECT_EQ(fs::file_size(folder.path() / "all/zeros"), 3000000U);
    EXPECT_THROW(
        archive::unpackZip(zip, folder.path() / "bytes", {.bytes = 2'999'999}), bytes::FormatError);
    EXPECT_THROW(
        archive::unpackZip(zip, folder.path() / "entries", {.entries = 2}), bytes::FormatError);
    EXPECT_THROW(archive::unpackZip(folder.write("text", "no archive"), folder.path() / "none"),
        bytes::FormatError);
}

TEST(Unzip, TakesWhatOtherProgramsWrite)
{
    const TemporaryFolder folder;
    const fs::path zip = madeByPython(folder,
        "add('./a//b', 'x', 0o104755)\nadd('__MACOSX/._gone', 'no metadata')\n"
        "add('\\xe9.txt', 'an accent')\nadd('dos', 'x', 0)");
    const fs::path out = folder.path() / "out";
    archive::unpackZip(zip, out);
    struct stat status { };
    ::stat((out / "a/b").c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777, 0755U) << "no set-id bit";
    EXPECT_EQ(contentOf(out / "__MACOSX/._gone"), "no metadata");
    EXPECT_EQ(contentOf(out / "\xc3\xa9.txt"), "an accent");
    EXPECT_EQ(contentOf(out / "dos"), "x");
    archive::unpackZip(zip, out); // again, over what is there
    EXPECT_EQ(contentOf(out / "a/b"), "x");
}
