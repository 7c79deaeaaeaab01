#include "platform/HostIconService.h"

#include "platform/IcnsFile.h"
#include "platform/PropertyList.h"
#include "platform/ResourceFork.h"
#include "platform/Thumbnails.h"

#include "Scratch.h"

#include <QBuffer>
#include <QDateTime>
#include <QImage>
#include <QImageReader>

#include <gtest/gtest.h>
#include <sys/xattr.h>

using namespace Qt::StringLiterals;

namespace {

QImage picture(int width, int height, const QColor& color = Qt::red)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

QByteArray icon(int side, const QColor& color = Qt::red)
{
    return IcnsFile::fromImage(picture(side, side, color));
}

QByteArray png(const QImage& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes;
}

QByteArray attribute(const QString& path, const char* name)
{
    QByteArray value(70000, '\0');
    const ssize_t size = ::getxattr(QFile::encodeName(path).constData(), name, value.data(), 70000);
    return value.left(std::max<ssize_t>(size, 0));
}

class HostIcons : public testing::Test {
public:
    HostIcons() { qputenv("XDG_CACHE_HOME", QFile::encodeName(scratch.path(u"cache"_s))); }
    ~HostIcons() override { qunsetenv("XDG_CACHE_HOME"); }

    Scratch scratch;
    HostIconService icons{SystemRoot(scratch.path(u"tools"_s), scratch.path(u"state"_s))};
};

} // namespace

TEST(IcnsFile, HoldsTheSizesThatThePictureFills)
{
    const struct {
        int width, height;
        QByteArrayList types;
    } rows[] = {
        {1500, 1500, {"ic11", "ic12", "ic07", "ic13", "ic08", "ic14", "ic09", "ic10"}},
        {300, 200, {"ic11", "ic12", "ic07", "ic13", "ic08"}},
        {20, 20, {"ic11"}},
    };
    for (const auto& row : rows) {
        const QByteArray icns = IcnsFile::fromImage(picture(row.width, row.height));
        const auto elements = IcnsFile::elements(icns);
        ASSERT_TRUE(elements);
        QByteArrayList types;
        for (const IcnsFile::Element& element : *elements) {
            types << element.type;
            const QImage image = QImage::fromData(element.data, "PNG");
            EXPECT_EQ(image.width(), image.height()) << element.type.constData();
        }
        EXPECT_EQ(types, row.types);
    }
    EXPECT_EQ(IcnsFile::fromImage({}), QByteArray());
    const QImage wide = IcnsFile::image(IcnsFile::fromImage(picture(256, 64)), 256);
    EXPECT_EQ(wide.pixelColor(128, 128), QColor(Qt::red));
    EXPECT_EQ(wide.pixelColor(128, 10).alpha(), 0);
}

TEST(IcnsFile, TheSmallestPictureThatIsLargeEnoughIsTaken)
{
    const QByteArray icns = icon(256);
    for (const auto& [wanted, found] : {std::pair(16, 32), {33, 64}, {128, 128}, {512, 256}})
        EXPECT_EQ(IcnsFile::image(icns, wanted).width(), found) << wanted;
}

TEST(IcnsFile, ElementsMustFillTheFile)
{
    const QByteArray whole = icon(64);
    EXPECT_TRUE(IcnsFile::elements(whole));
    for (qsizetype size = 0; size < whole.size(); ++size)
        ASSERT_FALSE(IcnsFile::elements(whole.left(size))) << size;
    QByteArray endless = whole;
    endless.replace(12, 4, QByteArray("\xff\xff\xff\xff", 4));
    EXPECT_FALSE(IcnsFile::elements(endless));
    endless.replace(12, 4, QByteArray(4, '\0'));
    EXPECT_FALSE(IcnsFile::elements(endless));
    EXPECT_TRUE(IcnsFile::image("icns\0\0\0\x10"
                                "ic07\0\0\0\x08",
        128)
                    .isNull());
}

TEST_F(HostIcons, AnApplicationsIconIsFoundAsTheFinderDoes)
{
    const QByteArray named = icon(64, Qt::green);
    const QByteArray other = icon(64, Qt::blue);
    const QByteArray picturePNG = png(picture(128, 128));
    struct Row {
        const char* name;
        QVariantMap info;
        QMap<QString, QByteArray> files;
        std::optional<QByteArray> icns; // none: that of an application without an icon
    };
    const QString file = u"CFBundleIconFile"_s;
    const QString name = u"CFBundleIconName"_s;
    const Row rows[] = {
        {"a name without extension", {{file, u"My"_s}},
            {{u"My.icns"_s, named}, {u"AppIcon.icns"_s, other}}, named},
        {"a name with it", {{file, u"My.icns"_s}}, {{u"My.icns"_s, named}}, named},
        {"a dot that begins no extension", {{file, u"My.App"_s}},
            {{u"My.App.icns"_s, named}, {u"b.icns"_s, other}}, named},
        {"a picture of another kind", {{file, u"My.png"_s}}, {{u"My.png"_s, picturePNG}},
            IcnsFile::fromImage(picture(128, 128))},
        {"the catalog's name", {{name, u"Mine"_s}},
            {{u"Mine.icns"_s, named}, {u"AppIcon.icns"_s, other}}, named},
        {"a name that leads nowhere", {{file, u"Gone"_s}}, {{u"AppIcon.icns"_s, other}}, other},
        {"a damaged icon", {{file, u"My"_s}},
            {{u"My.icns"_s, named.left(99)}, {u"app.icns"_s, other}}, other},
        {"no name, one icon", {}, {{u"Document.icns"_s, other}}, other},
        {"no name, several icons", {}, {{u"a.icns"_s, other}, {u"b.icns"_s, other}}, std::nullopt},
        {"a way out of the bundle", {{file, u"../../../outside.icns"_s}}, {}, std::nullopt},
        {"a name that is no text", {{file, qint64(4)}}, {}, std::nullopt},
    };
    scratch.write(u"outside.icns"_s, named);
    const std::optional<Icon> generic = icons.resource(u"GenericApplicationIcon"_s);
    int number = 0;
    for (const Row& row : rows) {
        const QString bundle = u"app%1"_s.arg(++number);
        scratch.write(bundle + u"/Contents/Info.plist"_s, PropertyList::binary(row.info));
        for (auto entry = row.files.cbegin(); entry != row.files.cend(); ++entry)
            scratch.write(bundle + u"/Contents/Resources/"_s + entry.key(), entry.value());
        EXPECT_EQ(icons.forFile(scratch.path(bundle)), row.icns ? Icon{*row.icns} : generic)
            << row.name;
    }
    EXPECT_FALSE(icons.forFile(scratch.path(u"no such application"_s)));
}

TEST_F(HostIcons, AVolumesIconIsAFileAtItsRoot)
{
    const Icon whole{icon(64)};
    EXPECT_FALSE(icons.setCustomIcon(whole, u"/Volumes/My App"_s)) << "not attached";
    QDir().mkpath(scratch.path(u"state/Volumes/My App/sub"_s));
    EXPECT_TRUE(icons.setCustomIcon(whole, u"/Volumes/My App"_s));
    const QString root = scratch.path(u"state/Volumes/My App"_s);
    EXPECT_EQ(Scratch::read(root + u"/.VolumeIcon.icns"_s), whole.icns);
    const Icon second{icon(128)};
    EXPECT_TRUE(icons.setCustomIcon(second, u"/Volumes/My App/"_s));
    EXPECT_EQ(Scratch::read(root + u"/.VolumeIcon.icns"_s), second.icns);
    EXPECT_EQ(QDir(root).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList({u".VolumeIcon.icns"_s, u"sub"_s}));
    for (const QString& path : {u"/Volumes/My App/sub"_s, u"/Volumes/.."_s, u"/Volumes/"_s, u"/"_s})
        EXPECT_FALSE(icons.setCustomIcon(whole, path)) << qPrintable(path);
    EXPECT_FALSE(icons.setCustomIcon(Icon{"no icon"}, u"/Volumes/My App"_s));
}

TEST_F(HostIcons, AFilesIconIsKeptBesideItsBytesAndItsFolder)
{
    const QString image = scratch.write(u"out/My App.dmg"_s, "image");
    const Icon small{IcnsFile::fromImage(picture(20, 20))};
    const bool kept = icons.setCustomIcon(small, image);
    EXPECT_EQ(Scratch::read(image), "image");
    EXPECT_EQ(QDir(scratch.path(u"out"_s)).entryList(QDir::Files | QDir::Hidden),
        QStringList{u"My App.dmg"_s});
    EXPECT_FALSE(QFile::exists(scratch.path(u"cache"_s))) << "no cache is made on a build server";
    if (!kept)
        GTEST_SKIP() << "this file system keeps no extended attributes";
    EXPECT_EQ(attribute(image, "user.com.apple.ResourceFork"), ResourceFork::withIcon(small.icns));
    EXPECT_EQ(attribute(image, "user.com.apple.FinderInfo"), ResourceFork::markedFinderInfo({}));

    // An icon that the file system has no room for must not leave a mark without an icon.
    const QString other = scratch.write(u"out/other.dmg"_s, "image");

    Icon huge;
    huge.icns = "icns" + QByteArray("\0\1\x11\x80", 4) + "ic07" + QByteArray("\0\1\x11\x78", 4)
        + QByteArray(70000, 'x');
    ASSERT_TRUE(IcnsFile::elements(huge.icns));
    EXPECT_FALSE(icons.setCustomIcon(huge, other));
    EXPECT_EQ(attribute(other, "user.com.apple.ResourceFork"), "");
    EXPECT_EQ(attribute(other, "user.com.apple.FinderInfo"), "");
}

TEST_F(HostIcons, ADesktopShowsTheIconAsThumbnail)
{
    QDir().mkpath(scratch.path(u"cache/thumbnails"_s));
    const QString image = scratch.write(u"out/My [App].dmg"_s, "image");
    EXPECT_TRUE(icons.setCustomIcon(Icon{icon(1024)}, image));
    for (const auto& [folder, side] : {std::pair(u"normal"_s, 128), {u"large"_s, 256}}) {
        const QString file =
            scratch.path(u"cache/thumbnails/"_s + folder + u'/' + Thumbnails::fileName(image));
        const QImage thumbnail(file, "PNG");
        EXPECT_EQ(thumbnail.size(), QSize(side, side));
        EXPECT_EQ(thumbnail.text(u"Thumb::URI"_s),
            u"file://"_s + scratch.path(u"out/My%20%5BApp%5D.dmg"_s));
        EXPECT_EQ(thumbnail.text(u"Thumb::MTime"_s),
            QString::number(QFileInfo(image).lastModified().toSecsSinceEpoch()));
        EXPECT_EQ(QFileInfo(file).permissions() & (QFile::ReadGroup | QFile::ReadOther), 0);
    }
}

TEST(Thumbnails, TheNameIsTheOneThatFileBrowsersLookFor)
{
    // The standard's own example.
    EXPECT_EQ(Thumbnails::fileName(u"/home/jens/photos/me.png"_s),
        u"c6ee772d9e49320e97ec29a7eb5b1697.png"_s);
}

TEST(ResourceFork, HoldsOneIconAndKeepsTheRestOfTheFinderInfo)
{
    const QByteArray fork = ResourceFork::withIcon(QByteArray("icns\0\0\0\x08", 8));
    EXPECT_EQ(fork.size(), 318);
    EXPECT_EQ(fork.left(16).toHex(), "000001000000010c0000000c00000032");
    EXPECT_EQ(fork.mid(256, 12).toHex(), "0000000869636e7300000008");
    EXPECT_EQ(fork.mid(284).toHex(),
        "000000000000"
        "0000001c0032000069636e730000000abfb9ffff0000000000000000");

    QByteArray typed(32, '\0');
    typed.replace(0, 4, "rohd");
    typed[8] = '\x40';
    const QByteArray marked = ResourceFork::markedFinderInfo(typed);
    EXPECT_EQ(marked.left(10).toHex(),
        "726f68640000000044"
        "00");
    EXPECT_EQ(marked.size(), 32);
}
