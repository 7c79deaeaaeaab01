#include "model/DMGConfig.h"

#include "model/SettingsManager.h"
#include "platform/UserDefaults.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

void expectPlaces(const DMGConfig& job, double appX, double linkX, double y, const char* what)
{
    EXPECT_DOUBLE_EQ(job.appIconPosition.x(), appX) << what;
    EXPECT_DOUBLE_EQ(job.appsSymlinkPosition.x(), linkX) << what;
    EXPECT_DOUBLE_EQ(job.appIconPosition.y(), y) << what;
    EXPECT_DOUBLE_EQ(job.appsSymlinkPosition.y(), y) << what;
}

} // namespace

TEST(DMGConfig, AnArrangementPlacesTheIconsInTheWindowAsItIs)
{
    DMGConfig job;
    expectPlaces(job, 140, 460, 200, "a new job");
    job.chooseArrangement(IconLayout::centered);
    expectPlaces(job, 198, 396, 200, "centered");
    job.chooseArrangement(IconLayout::classic);
    expectPlaces(job, 138, 462, 200, "classic");
    job.resizeWidth(800);
    job.resizeHeight(500);
    expectPlaces(job, 184, 616, 250, "a larger window");
    job.resizeWidth(333);
    expectPlaces(job, 0.23 * 333, 0.77 * 333, 250, "fractions stay");
    job.applyArrangement(IconLayout::centered);
    EXPECT_EQ(job.layout, IconLayout::classic) << "applying isn't choosing";
}

TEST(DMGConfig, ACustomLayoutStaysWhereTheUserPutIt)
{
    DMGConfig job;
    job.chooseArrangement(IconLayout::custom);
    job.resizeWidth(900);
    job.resizeHeight(100);
    expectPlaces(job, 140, 460, 200, "custom");
    EXPECT_EQ(job.windowWidth, 900);
    EXPECT_EQ(job.windowHeight, 100);
}

TEST(DMGConfig, MovingOneCoordinateMakesTheLayoutCustom)
{
    const struct {
        void (DMGConfig::*move)(double);
        QPointF app, link;
    } rows[] = {
        {&DMGConfig::moveAppX, {7.5, 200}, {396, 200}},
        {&DMGConfig::moveAppY, {198, 7.5}, {396, 200}},
        {&DMGConfig::moveLinkX, {198, 200}, {7.5, 200}},
        {&DMGConfig::moveLinkY, {198, 200}, {396, 7.5}},
    };
    for (const auto& row : rows) {
        DMGConfig job;
        job.chooseArrangement(IconLayout::centered);
        (job.*row.move)(7.5);
        EXPECT_EQ(job.layout, IconLayout::custom);
        EXPECT_EQ(job.appIconPosition, row.app);
        EXPECT_EQ(job.appsSymlinkPosition, row.link);
    }
}

TEST(DMGConfig, NewJobsTakeTheWindowFromTheSettings)
{
    const QTemporaryDir folder;
    UserDefaults defaults(folder.filePath(u"app.plist"_s));
    SettingsManager settings(defaults);
    const DMGConfig plain = DMGConfig::newJob(settings);
    EXPECT_EQ(plain.windowWidth, 600);
    EXPECT_EQ(plain.windowHeight, 400);
    EXPECT_NE(plain.id, DMGConfig::newJob(settings).id);

    const struct {
        double points;
        qint64 width;
    } rows[] = {
        {640.7, 640},
        {-0.9, 0},
        {std::numeric_limits<double>::quiet_NaN(), 0},
        {1e300, std::numeric_limits<qint64>::max()},
        {-1e300, std::numeric_limits<qint64>::min()},
    };
    for (const auto& row : rows) {
        settings.setDefaultWindowWidth(row.points);
        EXPECT_EQ(DMGConfig::newJob(settings).windowWidth, row.width) << row.points;
    }
}

TEST(DMGConfig, EqualityLooksAtEveryField)
{
    const DMGConfig job;
    void (*const changes[])(DMGConfig&) = {
        [](DMGConfig& j) { j.id = QUuid::createUuid(); },
        [](DMGConfig& j) { j.appURL = QUrl(u"file:///A.app"_s); },
        [](DMGConfig& j) { j.outputURL = QUrl(u"file:///A.dmg"_s); },
        [](DMGConfig& j) { j.volumeName = u"A"_s; },
        [](DMGConfig& j) { j.layout = IconLayout::centered; },
        [](DMGConfig& j) { j.backgroundURL = QUrl(u"file:///A.png"_s); },
        [](DMGConfig& j) { j.windowWidth = 601; },
        [](DMGConfig& j) { j.windowHeight = 401; },
        [](DMGConfig& j) { j.appIconPosition.setX(140 + 1e-13); },
        [](DMGConfig& j) { j.appIconPosition.setY(201); },
        [](DMGConfig& j) { j.appsSymlinkPosition.setX(461); },
        [](DMGConfig& j) { j.appsSymlinkPosition.setY(200 + 1e-13); },
        [](DMGConfig& j) { j.iconSize = 64; },
        [](DMGConfig& j) { j.fontSize = 12; },
    };
    DMGConfig copy = job;
    EXPECT_EQ(copy, job);
    int number = 0;
    for (const auto& change : changes) {
        copy = job;
        change(copy);
        EXPECT_FALSE(copy == job) << "change " << number;
        ++number;
    }
}

TEST(IconLayout, NamesLeadThereAndBack)
{
    EXPECT_EQ(rawValue(allIconLayouts[1]), u"Classic (Side-by-Side)"_s);
    for (const IconLayout layout : allIconLayouts)
        EXPECT_EQ(iconLayoutFromRawValue(rawValue(layout)), layout);
    for (const QString& text : {u"custom"_s, u"Classic"_s, u""_s, u"Custom "_s})
        EXPECT_FALSE(iconLayoutFromRawValue(text)) << qPrintable(text);
}
