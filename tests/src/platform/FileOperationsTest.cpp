#include "platform/FileOperations.h"

#include "platform/Descriptor.h"
#include "platform/FileCopy.h"
#include "platform/PlatformError.h"

#include "Await.h"
#include "Scratch.h"

#include <QStringList>

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

struct stat statusOf(const QByteArray& path)
{
    struct stat status { };
    EXPECT_EQ(::lstat(path.constData(), &status), 0) << path.constData();
    return status;
}

bool setTimeOf(const QByteArray& path, time_t seconds)
{
    const timespec times[2] = {{seconds, 0}, {seconds, 123456789}};
    return ::utimensat(AT_FDCWD, path.constData(), times, AT_SYMLINK_NOFOLLOW) == 0;
}

/// Runs `action` without the rights of root, which may read and write everything.
template <class Action>
void unprivileged(Action action)
{
    const bool isRoot = ::geteuid() == 0;
    ASSERT_TRUE(!isRoot || ::seteuid(65534) == 0);
    action();
    ASSERT_TRUE(!isRoot || ::seteuid(0) == 0);
}

/// The file that the copy failed at; the empty text when it didn't.
QString faultOf(const QString& from, const QString& to, FileOperations::StopFlag stop = {})
{
    try {
        await(FileOperations::copyTree(from, to, std::move(stop)));
        return {};
    } catch (const PlatformError& error) {
        EXPECT_EQ(error.operation(), PlatformError::Operation::copy);
        return error.path();
    }
}

class CopyTree : public testing::Test {
public:
    Scratch scratch;
    QString source = scratch.path(u"from"_s);
    QString target = scratch.path(u"to"_s);

    QByteArray in(const QString& relative) const { return scratch.encoded(u"from/"_s + relative); }
    QByteArray out(const QString& relative) const { return scratch.encoded(u"to/"_s + relative); }
};

} // namespace

TEST_F(CopyTree, KeepsContentsModesTimesAttributesAndLinks)
{
    scratch.write(u"from/Contents/MacOS/tool"_s, QByteArray(3'000'001, 'x'));
    scratch.write(u"from/Contents/Größe"_s, "");
    scratch.write(u"from/Versions/A/lib"_s, "library");
    ASSERT_EQ(::symlink("A", in(u"Versions/Current"_s).constData()), 0);
    ASSERT_EQ(::symlink("/nowhere/at/all", in(u"dangling"_s).constData()), 0);
    ASSERT_EQ(::link(in(u"Versions/A/lib"_s).constData(), in(u"Contents/same"_s).constData()), 0);
    const QByteArray tool = in(u"Contents/MacOS/tool"_s);
    const bool hasAttributes =
        ::setxattr(tool.constData(), "user.com.apple.quarantine", "q;1", 3, 0) == 0;
    const QByteArray contents = in(u"Contents"_s);
    ASSERT_EQ(::setxattr(contents.constData(), "user.folder", "f", 1, 0) == 0, hasAttributes);
    ASSERT_EQ(::chmod(tool.constData(), 04551), 0);
    ASSERT_TRUE(setTimeOf(tool, 1'000'000'000));
    ASSERT_TRUE(setTimeOf(in(u"dangling"_s), 1'100'000'000));
    ASSERT_TRUE(setTimeOf(in(u"Versions"_s), 1'200'000'000));
    ASSERT_TRUE(setTimeOf(in(u""_s), 1'300'000'000));
    ASSERT_EQ(::chmod(contents.constData(), 0555), 0);

    await(FileOperations::copyTree(source + u'/', target));

    EXPECT_EQ(Scratch::read(target + u"/Contents/MacOS/tool"_s), QByteArray(3'000'001, 'x'));
    EXPECT_EQ(statusOf(out(u"Contents/Größe"_s)).st_size, 0);
    for (const QString& name : {u"Contents/MacOS/tool"_s, u"Contents"_s, u"Versions"_s, u""_s,
             u"dangling"_s, u"Versions/Current"_s, u"Versions/A/lib"_s}) {
        const struct stat before = statusOf(in(name));
        const struct stat after = statusOf(out(name));
        EXPECT_EQ(after.st_mode, before.st_mode) << qPrintable(name);
        EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec) << qPrintable(name);
        EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec) << qPrintable(name);
    }
    EXPECT_EQ(QFile(target + u"/dangling"_s).symLinkTarget(), u"/nowhere/at/all"_s);
    EXPECT_EQ(statusOf(out(u"Contents/same"_s)).st_ino, statusOf(out(u"Versions/A/lib"_s)).st_ino);
    EXPECT_NE(statusOf(out(u"Contents/same"_s)).st_ino, statusOf(in(u"Contents/same"_s)).st_ino);
    if (!hasAttributes)
        GTEST_SKIP() << "this file system keeps no extended attributes";
    char value[8];
    EXPECT_EQ(::getxattr(
                  out(u"Contents/MacOS/tool"_s).constData(), "user.com.apple.quarantine", value, 8),
        3);
    EXPECT_EQ(::getxattr(out(u"Contents"_s).constData(), "user.folder", value, 8), 1);
}

TEST_F(CopyTree, HolesStayHoles)
{
    constexpr off_t size = off_t{6} << 30; // more than a 32-bit count, and than a test should write
    for (const QByteArray end : {"end", ""}) {
        scratch.write(u"from"_s, "start");
        QFile file(source);
        ASSERT_TRUE(file.open(QFile::ReadWrite) && file.resize(size) && file.seek(size));
        ASSERT_EQ(file.write(end), end.size());
        file.close();
        await(FileOperations::copyTree(source, target));

        const struct stat status = statusOf(scratch.encoded(u"to"_s));
        EXPECT_EQ(status.st_size, size + end.size());
        EXPECT_LE(status.st_blocks, statusOf(scratch.encoded(u"from"_s)).st_blocks);
        QFile copy(target);
        ASSERT_TRUE(copy.open(QFile::ReadOnly));
        EXPECT_EQ(copy.read(6), QByteArray("start\0", 6));
        EXPECT_TRUE(copy.seek(size));
        EXPECT_EQ(copy.readAll(), end);
        ASSERT_TRUE(copy.remove());
    }
}

TEST_F(CopyTree, ALinkIsCopiedAndNotFollowed)
{
    scratch.write(u"secret/file"_s, "secret");
    ASSERT_EQ(::symlink("secret", scratch.encoded(u"from"_s).constData()), 0);
    await(FileOperations::copyTree(source + u'/', target));
    EXPECT_EQ(QFile::symLinkTarget(target), scratch.path(u"secret"_s));
    EXPECT_TRUE(S_ISLNK(statusOf(scratch.encoded(u"to"_s)).st_mode));
}

TEST_F(CopyTree, ManySmallFilesArriveEach)
{
    for (int index = 0; index < 1500; ++index)
        scratch.write(u"from/%1/%2"_s.arg(index % 40).arg(index), QByteArray::number(index));
    await(FileOperations::copyTree(source, target));
    for (int index = 0; index < 1500; ++index) {
        ASSERT_EQ(Scratch::read(target + u"/%1/%2"_s.arg(index % 40).arg(index)),
            QByteArray::number(index));
    }
}

TEST_F(CopyTree, WhatCannotBeCopiedIsNamed)
{
    const auto pipe = [](const QByteArray& path) {
        ASSERT_EQ(::mkfifo(path.constData(), 0600), 0);
    };
    const auto socket = [](const QByteArray& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        ASSERT_LT(path.size(), qsizetype(sizeof address.sun_path));
        std::copy(path.begin(), path.end(), address.sun_path);
        const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
        ASSERT_EQ(::bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ::close(descriptor);
    };
    scratch.write(u"from/a/fine"_s, "fine");
    pipe(in(u"a/pipe"_s));
    EXPECT_EQ(faultOf(source, target), source + u"/a/pipe"_s);
    ASSERT_EQ(::unlink(in(u"a/pipe"_s).constData()), 0);
    socket(in(u"a/socket"_s));
    EXPECT_EQ(faultOf(source, scratch.path(u"to2"_s)), source + u"/a/socket"_s);

    EXPECT_EQ(
        faultOf(scratch.path(u"missing"_s), scratch.path(u"to3"_s)), scratch.path(u"missing"_s));
    EXPECT_EQ(
        faultOf(source + u"/a/fine"_s, scratch.path(u"no/folder"_s)), scratch.path(u"no/folder"_s));
    EXPECT_EQ(faultOf(u"/dev/null"_s, scratch.path(u"to4"_s)), u"/dev/null"_s);
}

TEST_F(CopyTree, UnreadableFilesAndFoldersAreNamed)
{
    ASSERT_EQ(::chmod(QFile::encodeName(scratch.path()).constData(), 0777), 0);
    scratch.write(u"from/folder/file"_s, "closed");
    ASSERT_EQ(::chmod(in(u"folder/file"_s).constData(), 0), 0);
    unprivileged([&] { EXPECT_EQ(faultOf(source, target), source + u"/folder/file"_s); });
    ASSERT_EQ(::chmod(in(u"folder"_s).constData(), 0), 0);
    unprivileged([&] { EXPECT_EQ(faultOf(source, target + u'2'), source + u"/folder"_s); });
    ASSERT_EQ(::chmod(in(u"folder"_s).constData(), 0700), 0);
}

TEST_F(CopyTree, NothingIsReplaced)
{
    scratch.write(u"from/file"_s, "new");
    scratch.write(u"to/file"_s, "old");
    EXPECT_EQ(faultOf(source, target), target);
    EXPECT_EQ(faultOf(source + u"/file"_s, target + u"/file"_s), target + u"/file"_s);
    EXPECT_EQ(Scratch::read(target + u"/file"_s), "old");
    ASSERT_EQ(::symlink("outside", scratch.encoded(u"link"_s).constData()), 0);
    EXPECT_EQ(faultOf(source + u"/file"_s, scratch.path(u"link"_s)), scratch.path(u"link"_s));
    EXPECT_FALSE(QFile::exists(scratch.path(u"outside"_s)));
}

TEST_F(CopyTree, AFolderCannotHoldItsOwnCopy)
{
    scratch.write(u"from/zone/file"_s, "x");
    EXPECT_EQ(faultOf(source, source + u"/zone/copy"_s), source + u"/zone/copy"_s);
}

TEST_F(CopyTree, StopsWhenAsked)
{
    scratch.write(u"from/file"_s, "x");
    const auto stop = std::make_shared<std::atomic<bool>>(true);
    EXPECT_EQ(faultOf(source, target, stop), source);
    EXPECT_FALSE(FileOperations::exists(target));
}

TEST(FileCopy, StopsInTheMiddleOfAFile)
{
    const Scratch scratch;
    std::atomic<bool> stop = false;
    const Descriptor endless(::open("/dev/zero", O_RDONLY | O_CLOEXEC));
    const Descriptor target(::open(scratch.encoded(u"to"_s).constData(), O_WRONLY | O_CREAT, 0600));
    std::thread later([&] {
        while (statusOf(scratch.encoded(u"to"_s)).st_size == 0)
            std::this_thread::yield();
        stop = true;
    });
    EXPECT_FALSE(FileCopy::contents(endless.get(), target.get(), &stop));
    EXPECT_EQ(errno, ECANCELED);
    later.join();
}

TEST(RemoveTree, RemovesReadOnlyFoldersAndNothingThatLinksLeadTo)
{
    const Scratch scratch;
    scratch.write(u"kept/file"_s, "kept");
    ASSERT_EQ(::chmod(QFile::encodeName(scratch.path()).constData(), 0777), 0);
    unprivileged([&] {
        scratch.write(u"tree/a/b/file"_s, "x");
        ASSERT_EQ(::symlink("../kept", scratch.encoded(u"tree/link"_s).constData()), 0);
        ASSERT_EQ(::mkfifo(scratch.encoded(u"tree/pipe"_s).constData(), 0600), 0);
        ASSERT_EQ(::chmod(scratch.encoded(u"tree/a/b"_s).constData(), 0555), 0);
        ASSERT_EQ(::chmod(scratch.encoded(u"tree/a"_s).constData(), 0), 0);
        await(FileOperations::removeTree(scratch.path(u"tree"_s)));
    });
    EXPECT_FALSE(FileOperations::exists(scratch.path(u"tree"_s)));
    EXPECT_EQ(Scratch::read(scratch.path(u"kept/file"_s)), "kept");

    ASSERT_EQ(::symlink("kept", scratch.encoded(u"link"_s).constData()), 0);
    await(FileOperations::removeTree(scratch.path(u"link/"_s)));
    EXPECT_EQ(Scratch::read(scratch.path(u"kept/file"_s)), "kept");
    EXPECT_THROW(await(FileOperations::removeTree(scratch.path(u"link"_s))), PlatformError);
}

TEST(FileOperations, SmallThingsHappenAtOnceOrNameTheirPath)
{
    const Scratch scratch;
    FileOperations::createFolder(scratch.path(u"a/b/c"_s));
    FileOperations::createFolder(scratch.path(u"a/b/c"_s));
    FileOperations::createLink(u"/Applications"_s, scratch.path(u"a/Applications"_s));
    EXPECT_TRUE(FileOperations::exists(scratch.path(u"a/Applications"_s)));
    EXPECT_FALSE(FileOperations::exists(scratch.path(u"a/Applications/x"_s)));
    EXPECT_THROW(
        FileOperations::createLink(u"x"_s, scratch.path(u"a/Applications"_s)), PlatformError);
    FileOperations::removeFile(scratch.path(u"a/Applications"_s));
    EXPECT_FALSE(FileOperations::exists(scratch.path(u"a/Applications"_s)));
    EXPECT_THROW(FileOperations::removeFile(scratch.path(u"a"_s)), PlatformError);

    const QString blocked = scratch.write(u"file"_s, "x") + u"/below"_s;
    try {
        FileOperations::createFolder(blocked);
        ADD_FAILURE() << "a folder inside a file";
    } catch (const PlatformError& error) {
        EXPECT_EQ(error.path(), blocked);
        EXPECT_EQ(error.errorNumber(), ENOTDIR);
    }
}
