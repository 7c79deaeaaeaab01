#include "WindowFixture.h"

#include "wizard/LayoutPreview.h"

#include <QEvent>
#include <QProxyStyle>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// Counts how often a widget is asked to paint itself.
class PaintCount : public QObject {
public:
    explicit PaintCount(QWidget& watched) { watched.installEventFilter(this); }
    int takeCount() { return std::exchange(m_count, 0); }

    bool eventFilter(QObject*, QEvent* event) override
    {
        m_count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }

private:
    int m_count = 0;
};

/// What a desktop whose user wants no motion answers.
class StillStyle : public QProxyStyle {
public:
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
        QStyleHintReturn* more) const override
    {
        return hint == SH_Widget_Animation_Duration
            ? 0
            : QProxyStyle::styleHint(hint, option, widget, more);
    }
};

class Preview : public WindowFixture {
public:
    Preview() { open(); }
    void open()
    {
        go(NavigationStep::configuration);
        preview = window.findChild<LayoutPreview*>();
    }
    QImage picture() const { return preview->grab().toImage(); }

    LayoutPreview* preview = nullptr;
};

} // namespace

TEST_F(Preview, IsPaintedAnewWithinOneTurnOfEachKeyInANumberField)
{
    PaintCount paints(*preview);
    for (const QString& name : {u"App Icon X"_s, u"App Icon Y"_s, u"Applications Folder X"_s,
             u"Applications Folder Y"_s, u"Width"_s, u"Height"_s}) {
        SCOPED_TRACE(name.toStdString());
        QWidget* field = user.control(name);
        user.press(field, Qt::Key_A, Qt::ControlModifier);
        const QImage before = picture();
        paints.takeCount();
        for (const Qt::Key digit : {Qt::Key_3, Qt::Key_6, Qt::Key_9}) {
            user.press(field, digit); // and one turn
            EXPECT_GE(paints.takeCount(), 1) << char(digit);
        }
        EXPECT_NE(picture(), before);
    }
}

TEST_F(Preview, MovesIconsToTheirNewPlacesWithMotionAndWithout)
{
    auto* still = new StillStyle;
    still->setParent(preview);
    preview->setStyle(still);
    user.click(u"Classic (Side-by-Side)"_s);
    const QImage classic = picture();
    user.click(u"Centered"_s);
    const QImage centred = picture();
    EXPECT_NE(centred, classic);

    go(NavigationStep::assets);
    open();
    EXPECT_EQ(picture(), centred); // a fresh one has nothing to move
    user.click(u"Classic (Side-by-Side)"_s);
    EXPECT_TRUE(WindowUser::waitUntil([&] { return picture() == classic; }));
}
