#include "platform/RetinaPicture.h"

#include "Scratch.h"
#include "platform/PlatformError.h"

#include <QImage>
#include <QImageReader>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int dotsPerMetreAt144 = 5669;

/// A picture with a corner that tells it from others.
QImage picture(QSize size, Qt::GlobalColor corner, int dotsPerMetre = 0)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    image.setPixelColor(0, 0, corner);
    if (dotsPerMetre != 0) {
        image.setDotsPerMeterX(dotsPerMetre);
        image.setDotsPerMeterY(dotsPerMetre);
    }
    return image;
}

TEST(RetinaPicture, IsFoundBesideTheSingleOne)
{
    const Scratch scratch;
    for (const QString& name : {u"bg.png"_s, u"bg@2x.png"_s, u"a.b@2x.jpg"_s, u"alone@2x"_s})
        scratch.write(name, "picture");
    struct Row {
        QString asked;
        QString found; // empty: none
    };
    const Row rows[] = {
        {u"bg.png"_s, u"bg@2x.png"_s},
        {u"a.b.jpg"_s, u"a.b@2x.jpg"_s},
        {u"bg.jpg"_s, {}},
        {u"bg@2x.png"_s, {}},
        {u"alone"_s, {}},
    };
    for (const Row& row : rows) {
        const std::optional<QString> found = RetinaPicture::doubleOf(scratch.path(row.asked));
        EXPECT_EQ(
            found.value_or(QString()), row.found.isEmpty() ? QString() : scratch.path(row.found))
            << qPrintable(row.asked);
    }
}

TEST(RetinaPicture, PointsFollowFromTheDensity)
{
    const Scratch scratch;
    const QString unsaid = scratch.path(u"unsaid.png"_s), dense = scratch.path(u"dense.png"_s);
    ASSERT_TRUE(picture({120, 80}, Qt::red).save(unsaid));
    ASSERT_TRUE(picture({120, 80}, Qt::red, dotsPerMetreAt144).save(dense));
    EXPECT_EQ(RetinaPicture::sizeInPoints(unsaid), QSize(120, 80));
    EXPECT_EQ(RetinaPicture::sizeInPoints(dense), QSize(60, 40));
    EXPECT_EQ(RetinaPicture::sizeInPoints(scratch.write(u"bad.png"_s, "no picture")), std::nullopt);
}

TEST(RetinaPicture, OneFileHoldsBothWithTheirDensities)
{
    const Scratch scratch;
    const QString one = scratch.path(u"bg.png"_s), two = scratch.path(u"bg@2x.png"_s);
    const QString both = scratch.path(u"bg.tiff"_s);
    ASSERT_TRUE(picture({60, 40}, Qt::red, dotsPerMetreAt144).save(one));
    ASSERT_TRUE(picture({120, 80}, Qt::blue).save(two));
    RetinaPicture::combine(one, two, both);

    QImageReader reader(both);
    ASSERT_EQ(reader.imageCount(), 2);
    struct Row {
        QSize size;
        QColor corner;
        double density;
    };
    for (const Row& row : {Row{{60, 40}, Qt::red, 72}, Row{{120, 80}, Qt::blue, 144}}) {
        const QImage read = reader.read();
        EXPECT_EQ(read.size(), row.size);
        EXPECT_EQ(read.pixelColor(0, 0), row.corner);
        EXPECT_EQ(read.pixelColor(1, 1).alpha(), 0);
        EXPECT_NEAR(read.dotsPerMeterX() * 0.0254, row.density, 0.1);
        reader.jumpToNextImage();
    }
    EXPECT_EQ(RetinaPicture::sizeInPoints(both), QSize(60, 40));

    ASSERT_TRUE(picture({121, 80}, Qt::blue).save(two));
    EXPECT_THROW(RetinaPicture::combine(one, two, both), PlatformError);
    EXPECT_THROW(RetinaPicture::combine(one, scratch.path(u"none.png"_s), both), PlatformError);
    EXPECT_THROW(RetinaPicture::combine(one, one + u"/x"_s, both), PlatformError);
}

} // namespace
