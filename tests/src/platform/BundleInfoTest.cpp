#include "platform/BundleInfo.h"

#include "platform/PropertyList.h"

#include "Scratch.h"

#include <QDateTime>

#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray xml(const QByteArray& inner)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + inner
        + "</plist>\n";
}

/// A binary list of `depth` arrays, each in the one before (Apple's CFBinaryPList.c).
QByteArray nestedBinary(int depth)
{
    const auto word = [](quint64 value, int size) {
        QByteArray bytes;
        for (int shift = (size - 1) * 8; shift >= 0; shift -= 8)
            bytes.append(static_cast<char>(value >> shift));
        return bytes;
    };
    QByteArray list = "bplist00";
    QByteArray offsets;
    for (int index = 0; index < depth; ++index) {
        offsets += word(static_cast<quint64>(list.size()), 4);
        const bool isLast = index == depth - 1;
        list += isLast ? QByteArray("\xa0", 1) : "\xa1" + word(static_cast<quint64>(index) + 1, 4);
    }
    const auto tableOffset = static_cast<quint64>(list.size());
    return list + offsets + QByteArray(6, '\0') + "\4\4" + word(static_cast<quint64>(depth), 8)
        + word(0, 8) + word(tableOffset, 8);
}

} // namespace

TEST(BundleInfo, OnlyAReadableDictionaryCounts)
{
    struct Row {
        const char* name;
        QByteArray bytes;
        std::optional<QString> version; // nothing: no dictionary; empty: no such text
    };
    const QByteArray dictionary = "<dict><key>V</key><string>2.1 &amp; é</string></dict>";
    const Row rows[] = {
        {"XML", xml(dictionary), u"2.1 & é"_s},
        {"binary", PropertyList::binary({{u"V"_s, u"2.1"_s}}), u"2.1"_s},
        {"no text", xml("<dict><key>V</key><integer>42</integer></dict>"), u""_s},
        {"an empty dictionary", xml("<dict/>"), u""_s},
        {"an array", xml("<array/>"), std::nullopt},
        {"cut off", xml(dictionary).left(70), std::nullopt},
        {"no property list", "CFBundleVersion = 1;", std::nullopt},
        {"nothing", "", std::nullopt},
        {"a magic number and no more", "bplist00", std::nullopt},
        {"XML nested without end",
            xml("<dict><key>V</key>" + QByteArray("<array>").repeated(1'000'000)), std::nullopt},
        {"binary nested without end", nestedBinary(1'000'000), std::nullopt},
    };
    for (const Row& row : rows) {
        const Scratch bundle;
        bundle.write(u"Contents/Info.plist"_s, row.bytes);
        const std::optional<BundleInfo> info = BundleInfo::read(bundle.path());
        ASSERT_EQ(info.has_value(), row.version.has_value()) << row.name;
        if (info) {
            EXPECT_EQ(info->string(u"V"_s).value_or(QString()), *row.version) << row.name;
        }
    }
}

TEST(BundleInfo, WhatIsNoFileIsNotOpened)
{
    const Scratch bundle;
    EXPECT_FALSE(BundleInfo::read(bundle.path()));
    QDir().mkpath(bundle.path(u"Contents"_s));
    ASSERT_EQ(::mkfifo(bundle.encoded(u"Contents/Info.plist"_s).constData(), 0600), 0);
    EXPECT_FALSE(BundleInfo::read(bundle.path())) << "a pipe would have waited for a writer";
}

TEST(PropertyList, ValuesKeepTheirTypes)
{
    const std::optional<QVariantMap> values = PropertyList::parse(xml(
        "<dict><key>t</key><true/><key>i</key><integer>-5</integer><key>r</key><real>1.5</real>"
        "<key>d</key><date>2026-03-05T14:03:27Z</date><key>b</key><data>AP8=</data>"
        "<key>a</key><array><string>x</string><dict><key>k</key><false/></dict></array></dict>"));
    ASSERT_TRUE(values);
    const QVariantMap expected{{u"t"_s, true}, {u"i"_s, qint64(-5)}, {u"r"_s, 1.5},
        {u"d"_s, QDateTime({2026, 3, 5}, {14, 3, 27}, Qt::UTC)}, {u"b"_s, QByteArray("\0\xff", 2)},
        {u"a"_s, QVariantList{u"x"_s, QVariantMap{{u"k"_s, false}}}}};
    EXPECT_EQ(*values, expected);
    EXPECT_EQ(PropertyList::parse(PropertyList::binary(expected)), expected);
}

TEST(PropertyList, EveryTruncationAndFlippedByteIsHarmless)
{
    const QByteArray whole = PropertyList::binary({{u"a"_s, QVariantList{u"x"_s, 1.5, true}},
        {u"é"_s, QByteArray("data")}, {u"n"_s, qint64(1) << 40}});
    for (qsizetype size = 0; size < whole.size(); ++size)
        PropertyList::parse(whole.left(size));
    for (qsizetype index = 0; index < whole.size(); ++index) {
        for (const char mask : {'\x01', '\x10', '\x80'}) {
            QByteArray flipped = whole;
            flipped[index] = static_cast<char>(flipped.at(index) ^ mask);
            PropertyList::parse(flipped);
        }
    }
    EXPECT_TRUE(PropertyList::parse(whole));
}
