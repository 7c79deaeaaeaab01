#include "platform/ApplicationResources.h"

#include <QFileInfo>
#include <QImage>

#include <gtest/gtest.h>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr int dotsPerMetre = 5669; // 144 DPI

/// One channel of a colour as light (WCAG 2.1, "relative luminance").
double light(int channel)
{
    const double share = channel / 255.0;
    return share <= 0.03928 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
}

/// Contrast of black text with the darkest point of a picture; 1 is none at all.
double contrastOfBlack(const QImage& picture)
{
    double darkest = 1;
    for (int y = 0; y < picture.height(); y += 2) {
        for (int x = 0; x < picture.width(); x += 2) {
            const QRgb pixel = picture.pixel(x, y);
            darkest = std::min(darkest,
                0.2126 * light(qRed(pixel)) + 0.7152 * light(qGreen(pixel))
                    + 0.0722 * light(qBlue(pixel)));
        }
    }
    return (darkest + 0.05) / 0.05;
}

} // namespace

TEST(ShippedPresets, FillAFreshWindowSharplyAndLeaveBlackLabelsReadable)
{
    const QStringList presets =
        ApplicationResources().list(u"png"_s, u"Presets"_s).value_or(QStringList());
    EXPECT_EQ(presets.size(), 6);
    for (const QString& path : presets) {
        SCOPED_TRACE(QFileInfo(path).fileName().toStdString());
        const QImage picture(path);
        EXPECT_EQ(picture.size(), QSize(1200, 800));
        EXPECT_NEAR(picture.dotsPerMeterX(), dotsPerMetre, 1);
        EXPECT_NEAR(picture.dotsPerMeterY(), dotsPerMetre, 1);
        EXPECT_GE(contrastOfBlack(picture), 7);
    }
}
