#include "views/FadingScrollArea.h"

#include "views/Theme.h"

#include <QPainter>
#include <QScrollBar>

namespace {

constexpr int fadeDepth = 20;

/// Turns into the window's colour towards one edge.
class Fade : public QWidget {
public:
    Fade(Qt::Orientation direction, bool isBefore, QWidget* parent)
        : QWidget(parent)
        , m_end(direction == Qt::Vertical ? QPointF(0, fadeDepth) : QPointF(fadeDepth, 0))
        , m_isBefore(isBefore)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        hide();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QColor clear = Theme::Colour::window;
        clear.setAlpha(0);
        QLinearGradient gradient({}, m_end);
        gradient.setColorAt(m_isBefore ? 0 : 1, Theme::Colour::window);
        gradient.setColorAt(m_isBefore ? 1 : 0, clear);
        QPainter(this).fillRect(rect(), gradient);
    }

private:
    QPointF m_end;
    bool m_isBefore;
};

} // namespace

FadingScrollArea::FadingScrollArea(Qt::Orientation direction, QWidget* parent)
    : QScrollArea(parent)
    , m_direction(direction)
    , m_before(new Fade(direction, true, this))
    , m_after(new Fade(direction, false, this))
{
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    if (direction == Qt::Vertical)
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    else
        setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    connect(&bar(), &QScrollBar::valueChanged, this, &FadingScrollArea::placeFades);
    connect(&bar(), &QScrollBar::rangeChanged, this, &FadingScrollArea::placeFades);
}

QScrollBar& FadingScrollArea::bar() const
{
    return m_direction == Qt::Vertical ? *verticalScrollBar() : *horizontalScrollBar();
}

void FadingScrollArea::resizeEvent(QResizeEvent* event)
{
    QScrollArea::resizeEvent(event);
    placeFades();
}

void FadingScrollArea::placeFades()
{
    const QRect room = viewport()->geometry();
    QRect before = room;
    QRect after = room;
    if (m_direction == Qt::Vertical) {
        before.setHeight(fadeDepth);
        after.setTop(room.bottom() + 1 - fadeDepth);
    } else {
        before.setWidth(fadeDepth);
        after.setLeft(room.right() + 1 - fadeDepth);
    }
    m_before->setGeometry(before);
    m_after->setGeometry(after);
    m_before->setVisible(bar().value() > bar().minimum());
    m_after->setVisible(bar().value() < bar().maximum());
}
