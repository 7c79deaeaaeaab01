#include "wizard/ConfigurationView.h"

#include "Scratch.h"
#include "model/ConfigWrapper.h"
#include "model/SettingsManager.h"
#include "platform/FileIcons.h"
#include "platform/HostIconService.h"
#include "platform/UserDefaults.h"
#include "views/SegmentedPicker.h"
#include "wizard/PreviewGeometry.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>
#include <QWheelEvent>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class Configuration : public testing::Test {
public:
    template <class Widget>
    Widget& named(const QString& name)
    {
        for (Widget* each : view.findChildren<Widget*>()) {
            if (each->accessibleName() == name)
                return *each;
        }
        throw std::runtime_error("no control is named " + name.toStdString());
    }
    void type(const QString& field, const QString& text)
    {
        auto& edit = named<QLineEdit>(field);
        edit.selectAll();
        for (const QChar letter : text) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, letter);
            QApplication::sendEvent(&edit, &press);
        }
    }
    static void turn() { QCoreApplication::processEvents(); }

    Scratch scratch;
    UserDefaults defaults{scratch.path(u"app.plist"_s)};
    SettingsManager settings{defaults};
    ConfigWrapper job{settings};
    HostIconService icons{SystemRoot(u"/nowhere"_s, u"/nowhere"_s)};
    FileIcons fileIcons{icons};
    ConfigurationView view{job, fileIcons};
};

} // namespace

TEST(Preview, FitsTheWindowIntoTheRoom)
{
    EXPECT_DOUBLE_EQ(PreviewGeometry::scaleFor({540, 540}, {600, 400}), 0.81);
    EXPECT_EQ(PreviewGeometry::windowIn({540, 540}, {600, 400}), QRectF(27, 108, 486, 324));
    EXPECT_EQ(PreviewGeometry::scaleFor({540, 540}, {0, -3}), 0);
    EXPECT_EQ(PreviewGeometry::iconBox({140, 200}, 128), QRectF(56, 121, 168, 158));
}

TEST_F(Configuration, EveryChangeReachesTheJobOnALaterTurn)
{
    job.edit([](DMGConfig& config) { config.chooseArrangement(IconLayout::centered); });
    type(u"App Icon X"_s, u"77"_s);
    EXPECT_EQ(job.config().layout, IconLayout::centered);
    turn();
    EXPECT_EQ(job.config().layout, IconLayout::custom);
    EXPECT_EQ(job.config().appIconPosition, QPointF(77, 200));
    EXPECT_EQ(named<SegmentedPicker>(u"Layout Preset"_s).current(), 2);

    named<SegmentedPicker>(u"Layout Preset"_s).findChildren<QPushButton*>()[1]->click();
    type(u"Width"_s, u"800"_s);
    type(u"Height"_s, u"500"_s);
    type(u"Volume Name"_s, u"L'été “1/2”"_s);
    turn();
    EXPECT_EQ(job.config().appIconPosition, QPointF(184, 250));
    EXPECT_EQ(job.config().appsSymlinkPosition, QPointF(616, 250));
    EXPECT_EQ(job.config().volumeName, u"L'été “1/2”"_s);
}

TEST_F(Configuration, WhatNoWindowCanHaveIsNoNumber)
{
    for (const char* text : {"0", "-5", "32768", "9223372036854775807", "12a"}) {
        named<QLineEdit>(u"Height"_s).setFocus();
        type(u"Width"_s, QString::fromLatin1(text));
        turn();
        EXPECT_LE(job.config().windowWidth, 32767) << text;
        EXPECT_GE(job.config().windowWidth, 1) << text;
    }
    type(u"Applications Folder Y"_s, u"-99999"_s);
    turn();
    EXPECT_EQ(job.config().appsSymlinkPosition.y(), -9999); // the last that was one
}

TEST_F(Configuration, ANumberThatIsRubbedOutComesBackWhole)
{
    auto& width = named<QLineEdit>(u"Width"_s);
    const qint64 before = job.config().windowWidth;
    width.setFocus();
    while (!width.text().isEmpty()) {
        QKeyEvent key(QEvent::KeyPress, Qt::Key_Backspace, Qt::NoModifier);
        QCoreApplication::sendEvent(&width, &key);
        turn();
    }
    EXPECT_NE(job.config().windowWidth, before);
    emit width.editingFinished();
    turn();
    EXPECT_EQ(job.config().windowWidth, before);
    EXPECT_EQ(width.text(), QString::number(before));
}

TEST_F(Configuration, WhatWasTypedForOneJobIsNotTheNextOnes)
{
    named<QLineEdit>(u"App Icon X"_s).setFocus();
    type(u"App Icon X"_s, u"77"_s);
    job.reset();
    turn();
    EXPECT_EQ(job.config().appIconPosition, QPointF(140, 200));
}

TEST_F(Configuration, SlidersYieldOnlyTheirSteps)
{
    auto& icon = named<QSlider>(u"Icon size"_s);
    auto& font = named<QSlider>(u"Font size"_s);
    EXPECT_EQ(icon.minimum(), 48);
    for (int value = icon.minimum(); value <= icon.maximum(); ++value) {
        icon.setValue(value);
        turn();
        EXPECT_EQ(job.config().iconSize, 48 + 16 * qRound((value - 48) / 16.0));
        EXPECT_EQ(icon.value(), job.config().iconSize);
    }
    EXPECT_EQ(job.config().iconSize, 256);
    QWheelEvent wheel(
        {}, {}, {}, {0, -120}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&icon, &wheel);
    EXPECT_EQ(icon.value(), 256) << "who scrolls the form doesn't mean the slider";
    font.setValue(font.minimum());
    turn();
    EXPECT_EQ(job.config().fontSize, 10);
    font.setValue(font.maximum());
    turn();
    EXPECT_EQ(job.config().fontSize, 16);
}

TEST_F(Configuration, ShowsWhatOthersDoToTheJob)
{
    job.edit([](DMGConfig& config) {
        config.resizeWidth(612);
        config.chooseArrangement(IconLayout::classic);
    });
    EXPECT_EQ(named<QLineEdit>(u"Width"_s).text(), u"612"_s);
    EXPECT_EQ(named<QLineEdit>(u"App Icon X"_s).text(), u"141"_s); // 140.76, in whole points
    EXPECT_EQ(job.config().appIconPosition.x(), 0.23 * 612);
    job.reset();
    EXPECT_EQ(named<QLineEdit>(u"Volume Name"_s).text(), u"My App Installer"_s);
    EXPECT_EQ(named<QLineEdit>(u"Width"_s).text(), u"600"_s);
}
