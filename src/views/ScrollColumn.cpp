#include "views/ScrollColumn.h"

#include "views/Theme.h"

#include <QPainter>
#include <QScrollBar>

namespace {

constexpr int fadeHeight = 20;

/// Turns into the window's colour towards one edge.
class Fade : public QWidget {
public:
    Fade(bool isAbove, QWidget* parent)
        : QWidget(parent)
        , m_isAbove(isAbove)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        hide();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QColor clear = Theme::Colour::window;
        clear.setAlpha(0);
        QLinearGradient gradient(0, 0, 0, height());
        gradient.setColorAt(m_isAbove ? 0 : 1, Theme::Colour::window);
        gradient.setColorAt(m_isAbove ? 1 : 0, clear);
        QPainter(this).fillRect(rect(), gradient);
    }

private:
    bool m_isAbove;
};

} // namespace

ScrollColumn::ScrollColumn(QWidget* parent)
    : QScrollArea(parent)
    , m_above(new Fade(true, this))
    , m_below(new Fade(false, this))
{
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &ScrollColumn::placeFades);
    connect(verticalScrollBar(), &QScrollBar::rangeChanged, this, &ScrollColumn::placeFades);
}

void ScrollColumn::resizeEvent(QResizeEvent* event)
{
    QScrollArea::resizeEvent(event);
    placeFades();
}

void ScrollColumn::placeFades()
{
    const QScrollBar& bar = *verticalScrollBar();
    const QRect room = viewport()->geometry();
    m_above->setGeometry(room.x(), room.y(), room.width(), fadeHeight);
    m_below->setGeometry(room.x(), room.bottom() + 1 - fadeHeight, room.width(), fadeHeight);
    m_above->setVisible(bar.value() > bar.minimum());
    m_below->setVisible(bar.value() < bar.maximum());
}
