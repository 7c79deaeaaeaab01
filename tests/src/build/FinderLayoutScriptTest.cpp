#include "build/FinderLayoutScript.h"

#include <QFile>
#include <gtest/gtest.h>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

const QString mountPoint = u"/Volumes/My App Installer"_s;

DMGConfig exampleJob()
{
    DMGConfig job;
    job.appURL = QUrl::fromLocalFile(u"/in/Example.app"_s);
    return job;
}

TEST(FinderLayoutScript, IsTheAgreedTextToTheLastBlank)
{
    QFile golden(QStringLiteral(TEST_DATA_DIR "/build/finder-layout.applescript"));
    ASSERT_TRUE(golden.open(QFile::ReadOnly));
    const DMGConfig job = exampleJob();
    const QString script =
        finderLayoutScript(mountPoint, job.volumeName, job, u".background/bg.png"_s);
    EXPECT_EQ(script.toStdString(), golden.readAll().toStdString());
}

TEST(FinderLayoutScript, WritesTheJobsValuesIntoItsLines)
{
    struct Row {
        const char* name;
        std::function<void(DMGConfig&)> change;
        qsizetype line; // from 1
        QString text;
    };
    const double huge = std::numeric_limits<double>::infinity();
    const Row rows[] = {
        {"without a background there is no picture", [](DMGConfig&) {}, 48,
            u"                set background picture to none"_s},
        {"fractions are cut, after the y was moved",
            [](DMGConfig& job) {
                job.appIconPosition = {138.9, 200.7};
            },
            69, u"        set position of item \"Example.app\" of disk diskName to {138, 178}"_s},
        {"cutting goes towards zero and zero has no sign",
            [](DMGConfig& job) {
                job.appsSymlinkPosition = {-0.5, 20.5};
            },
            70, u"        set position of item \"Applications\" of disk diskName to {0, -1}"_s},
        {"large numbers have no grouping", [](DMGConfig& job) { job.windowWidth = 1234567; }, 36,
            u"                set the bounds to {400, 100, 1234967, 500}"_s},
        {"a number beyond all integers stays a number",
            [huge](DMGConfig& job) {
                job.appIconPosition = {huge, -huge};
            },
            69,
            u"        set position of item \"Example.app\" of disk diskName to "
            u"{9000000000000000000, -9000000000000000000}"_s},
        {"a job without an application places an item of a stock name",
            [](DMGConfig& job) { job.appURL.reset(); }, 69,
            u"        set position of item \"App\" of disk diskName to {140, 178}"_s},
        {"a bundle given with a slash at its end keeps its name",
            [](DMGConfig& job) { job.appURL = QUrl::fromLocalFile(u"/in/Other.app/"_s); }, 69,
            u"        set position of item \"Other.app\" of disk diskName to {140, 178}"_s},
        {"inserted text is neither escaped nor searched for placeholders",
            [](DMGConfig& job) { job.volumeName = u"50%RIGHT% \"off\""_s; }, 6,
            u"    set diskName to \"50%RIGHT% \"off\"\""_s},
    };
    for (const Row& row : rows) {
        DMGConfig job = exampleJob();
        row.change(job);
        const QString script = finderLayoutScript(mountPoint, job.volumeName, job, std::nullopt);
        EXPECT_EQ(script.split(u'\n').value(row.line - 1), row.text) << row.name;
    }
}

} // namespace
