#include "build/OutputName.h"

#include <QDateTime>
#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QString usual = u"${APP_NAME}_${VERSION}.dmg"_s;
const QByteArray shortVersion = "<key>CFBundleShortVersionString</key><string>2.1</string>";
const QByteArray buildVersion = "<key>CFBundleVersion</key><string>42</string>";

QUrl makeApplication(const QTemporaryDir& folder, const QString& name, const QByteArray& keys)
{
    const QString contents = folder.filePath(name + u"/Contents"_s);
    QDir().mkpath(contents);
    QFile file(contents + u"/Info.plist"_s);
    if (!keys.isNull() && file.open(QFile::WriteOnly)) {
        file.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
            + keys + "</dict></plist>\n");
    }
    return QUrl::fromLocalFile(folder.filePath(name));
}

TEST(OutputName, FollowsTheTemplate)
{
    struct Row {
        const char* name;
        QString text;
        QString application;
        QByteArray keys;
        QString proposed;
    };
    const Row rows[] = {
        {"the short version is preferred", usual, u"Example.app"_s, shortVersion + buildVersion,
            u"Example_2.1.dmg"_s},
        {"the build's version does without it", usual, u"Example.app"_s, buildVersion,
            u"Example_42.dmg"_s},
        {"a version that is no text counts as none", usual, u"Example.app"_s,
            "<key>CFBundleShortVersionString</key><integer>3</integer>" + buildVersion,
            u"Example_42.dmg"_s},
        {"neither version", usual, u"Example.app"_s, "", u"Example_1.0.dmg"_s},
        {"no information dictionary", usual, u"Example.app"_s, QByteArray(), u"Example_1.0.dmg"_s},
        {"the date, and the extension is added", u"${APP_NAME}-${DATE}"_s, u"Example.app"_s,
            shortVersion, u"Example-2026-03-05.dmg"_s},
        {"an extension in capitals is none", u"${APP_NAME}.DMG"_s, u"Example.app"_s, shortVersion,
            u"Example.DMG.dmg"_s},
        {"every occurrence, exact case only", u"${APP_NAME}${APP_NAME}${app_name}"_s,
            u"Example.app"_s, shortVersion, u"ExampleExample${app_name}.dmg"_s},
        {"a name holding a later placeholder has it replaced", usual, u"${DATE}${APP_NAME}.app"_s,
            shortVersion, u"2026-03-05${APP_NAME}_2.1.dmg"_s},
        {"only the last extension goes", usual, u"Example.beta.app"_s, shortVersion,
            u"Example.beta_2.1.dmg"_s},
        {"a name of one file, whatever the version", usual, u"Example.app"_s,
            "<key>CFBundleVersion</key><string>../1/2</string>", u"Example_..-1-2.dmg"_s},
        {"no application", usual, QString(), QByteArray(), u"App_1.0.dmg"_s},
    };
    for (const Row& row : rows) {
        const QTemporaryDir folder;
        DMGConfig job;
        if (!row.application.isEmpty())
            job.appURL = makeApplication(folder, row.application, row.keys);
        const QDateTime now({2026, 3, 5}, {23, 59});
        EXPECT_EQ(proposedOutputName(row.text, job, now), row.proposed) << row.name;
    }
}

} // namespace
