#include "views/Buttons.h"

#include "views/Symbol.h"
#include "views/Theme.h"

#include <QPainter>
#include <QTimerEvent>

using namespace Qt::StringLiterals;

namespace {

QString nameOf(ButtonKind kind)
{
    switch (kind) {
    case ButtonKind::primary:
        return u"primary"_s;
    case ButtonKind::secondary:
        return u"secondary"_s;
    case ButtonKind::destructive:
        return u"destructive"_s;
    case ButtonKind::plain:
        return u"plain"_s;
    }
    Q_UNREACHABLE();
}

QColor inkOf(ButtonKind kind)
{
    if (kind == ButtonKind::primary)
        return Theme::Colour::onAccent;
    return kind == ButtonKind::destructive ? Theme::Colour::red : Theme::Colour::text;
}

constexpr int symbolEdge = 16;
constexpr int symbolGap = 5; // before the text

void dress(QPushButton& button, ButtonKind kind, const QString& symbol)
{
    button.setProperty("kind", nameOf(kind));
    button.setCursor(Qt::PointingHandCursor);
    button.setAutoDefault(false);
    if (symbol.isEmpty())
        return;
    button.setIcon(Symbol::icon(symbol, inkOf(kind)));
    if (!button.text().isEmpty())
        button.setIconSize(QSize(symbolEdge + symbolGap, symbolEdge));
}

} // namespace

QPushButton* makeButton(
    const QString& text, ButtonKind kind, const QString& symbol, QWidget* parent)
{
    auto* button = new QPushButton(text, parent);
    dress(*button, kind, symbol);
    return button;
}

SymbolButton::SymbolButton(const QString& symbol, const QString& purpose, QWidget* parent)
    : QPushButton(parent)
{
    dress(*this, ButtonKind::plain, symbol);
    setToolTip(purpose);
    setAccessibleName(purpose);
}

BusyButton::BusyButton(const QString& text, const QString& symbol, QWidget* parent)
    : QPushButton(text, parent)
    , m_text(text)
{
    dress(*this, ButtonKind::primary, symbol);
    m_icon = icon();
    setAccessibleName(text);
}

QSize BusyButton::sizeHint() const
{
    // As wide as with its text, so that nothing moves when work begins.
    const QSize now = QPushButton::sizeHint();
    const int wanted = fontMetrics().size(Qt::TextShowMnemonic, m_text).width() + 56;
    return {qMax(now.width(), wanted), now.height()};
}

void BusyButton::setBusy(bool busy, const QString& text)
{
    setText(busy ? text : m_text);
    QIcon room; // for the ring beside the text
    if (!text.isEmpty()) {
        QPixmap clear(iconSize());
        clear.fill(Qt::transparent);
        room = QIcon(clear);
    }
    setIcon(busy ? room : m_icon);
    if (busy == m_busy)
        return;
    m_busy = busy;
    setAccessibleDescription(busy ? u"Processing..."_s : QString());
    if (busy && Theme::motion(*this) > 0) {
        constexpr int frame = 40; // milliseconds
        m_timer = startTimer(frame);
    } else if (m_timer != 0) {
        killTimer(m_timer);
        m_timer = 0;
    }
    update();
}

void BusyButton::timerEvent(QTimerEvent*)
{
    m_turn = (m_turn + 15) % 360;
    update();
}

void BusyButton::paintEvent(QPaintEvent* event)
{
    QPushButton::paintEvent(event);
    if (!m_busy)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    constexpr double edge = 14;
    constexpr int gap = 4; // of Qt's own, between icon and text
    const int content = iconSize().width() + gap + fontMetrics().horizontalAdvance(text());
    const double middle = text().isEmpty() ? width() / 2.0 : (width() - content + symbolEdge) / 2.0;
    const QRectF ring(middle - edge / 2, (height() - edge) / 2.0, edge, edge);
    QColor track = Theme::Colour::onAccent;
    track.setAlphaF(0.27F);
    painter.setPen(QPen(track, 2));
    painter.drawEllipse(ring);
    painter.setPen(QPen(Theme::Colour::onAccent, 2, Qt::SolidLine, Qt::RoundCap));
    painter.drawArc(ring, -m_turn * 16, 90 * 16);
}
