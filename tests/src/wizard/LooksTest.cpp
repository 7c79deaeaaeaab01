#include "views/ComboBox.h"
#include "views/Labels.h"
#include "views/LogView.h"
#include "views/TextBlock.h"
#include "views/Theme.h"

#include <QApplication>
#include <QHelpEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QToolTip>

#include <gtest/gtest.h>

using namespace Theme;
using namespace Qt::StringLiterals;

TEST(Looks, TextStandsOutFromEveryGroundThatItIsUsedOn)
{
    constexpr double least = 4.5; // WCAG 2.1, level AA
    const struct {
        const char* use;
        QColor ink;
        std::initializer_list<QColor> grounds;
    } rows[] = {
        {"text", Colour::text,
            {Colour::window, Colour::sidebar, Colour::card, Colour::field, Colour::raised,
                Colour::raisedHover}},
        {"captions", Colour::secondary,
            {Colour::window, Colour::sidebar, Colour::card, Colour::field, Colour::raised}},
        {"what is not typed yet or can't be used", Colour::faint,
            {Colour::field, Colour::card, Colour::sidebar}},
        {"main buttons and selected text", Colour::onAccent, {Colour::accent, Colour::accentHover}},
        {"the current step's symbol", Colour::accentInk, {Colour::sidebar, Colour::raised}},
        {"failures and what destroys", Colour::red,
            {Colour::card, Colour::raised, tint(Colour::red)}},
        {"successes", Colour::green, {Colour::card, Colour::raised, tint(Colour::green)}},
        {"warnings", Colour::orange, {Colour::card, Colour::raised, tint(Colour::orange)}},
        {"badges that say little", Colour::secondary, {tint(Colour::secondary)}},
    };
    EXPECT_DOUBLE_EQ(contrast(Qt::black, Qt::white), 21);
    for (const auto& row : rows) {
        for (const QColor& ground : row.grounds)
            EXPECT_GE(contrast(row.ink, ground), least)
                << row.use << " on " << ground.name().toStdString();
    }
}

TEST(Looks, FieldsDrawInTheThemesInks)
{
    QLineEdit field;
    ComboBox picker;
    for (QWidget* each : std::initializer_list<QWidget*>{&field, &picker}) {
        each->ensurePolished();
        const QPalette inks = each->palette();
        EXPECT_EQ(inks.color(QPalette::Active, QPalette::Text), Colour::text);
        EXPECT_EQ(inks.color(QPalette::Active, QPalette::ButtonText), Colour::text);
        EXPECT_EQ(inks.color(QPalette::Active, QPalette::PlaceholderText), Colour::faint);
        EXPECT_EQ(inks.color(QPalette::Disabled, QPalette::Text), Colour::faint);
        EXPECT_EQ(inks.color(QPalette::Disabled, QPalette::ButtonText), Colour::faint);
    }
}

TEST(Looks, APointerShowsAllOfWhatIsShortened)
{
    const QString name = u"Developer ID Application: Quick & Brown <Foxes> (ABCDE12345)"_s;
    const QString tip = Qt::convertFromPlainText(name);

    ElidedLabel label(Type::body);
    label.setFullText(name);
    label.resize(100, 20);
    label.show();
    EXPECT_EQ(label.toolTip(), tip);

    ComboBox picker;
    picker.addItem(name);
    QHelpEvent pointed(QEvent::ToolTip, {}, {});
    for (const bool isWide : {true, false}) {
        picker.resize(isWide ? 900 : 200, 32);
        QApplication::sendEvent(&picker, &pointed);
        EXPECT_EQ(QToolTip::text(), isWide ? QString() : tip);
    }
    QToolTip::hideText();
}

TEST(Looks, ALogFollowsItsEndAlsoWhereItGetsLessRoom)
{
    LogView log(u"Log"_s);
    const QScrollBar& bar = *log.verticalScrollBar();
    log.resize(600, 400);
    log.show();
    QString text = u"line\n"_s.repeated(100);
    log.setLog(text);
    QCoreApplication::processEvents();
    ASSERT_GT(bar.maximum(), 0);
    log.resize(600, 200);
    QCoreApplication::processEvents();
    EXPECT_EQ(bar.value(), bar.maximum());
    log.setLog(text += u"more\n"_s);
    EXPECT_EQ(bar.value(), bar.maximum());

    log.verticalScrollBar()->setValue(10); // to read
    log.resize(600, 300);
    log.setLog(text += u"more\n"_s);
    QCoreApplication::processEvents();
    EXPECT_EQ(bar.value(), 10);
}

TEST(Looks, WhatAToolSaysBreaksAnywhereAndScrollsWhereItIsLong)
{
    TextBlock block(u"Error"_s, Type::body);
    const int line = block.heightForWidth(300);
    const auto show = [&block](const QString& text) {
        block.setContent(text);
        block.resize(300, block.heightForWidth(300));
        static_cast<QWidget&>(block).show();
        QCoreApplication::processEvents();
    };
    show(u"/Users/jane/"_s + u"W"_s.repeated(100) + u".dmg: no space\n"_s);
    EXPECT_GT(block.height(), 3 * line);
    EXPECT_EQ(block.verticalScrollBar()->maximum(), 0);
    EXPECT_EQ(block.horizontalScrollBar()->maximum(), 0);
    EXPECT_LT(block.minimumSizeHint().width(), 200);

    show(u"no space\n"_s.repeated(80));
    EXPECT_LT(block.height(), 20 * line);
    EXPECT_GT(block.verticalScrollBar()->maximum(), 0);
}
