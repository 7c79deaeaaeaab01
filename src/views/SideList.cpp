#include "views/SideList.h"

#include "views/Symbol.h"
#include "views/Theme.h"

#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

SideRow::SideRow(const QString& title, const QString& symbol, QWidget* parent)
    : QAbstractButton(parent)
    , m_symbol(symbol)
{
    setText(title);
    setAccessibleName(title);
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void SideRow::setCaption(const QString& caption)
{
    m_caption = caption;
    setAccessibleDescription(caption);
    update();
}

QSize SideRow::sizeHint() const
{
    return {200, 38};
}

void SideRow::focusInEvent(QFocusEvent* event)
{
    const Qt::FocusReason reason = event->reason();
    if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason)
        m_showsFocus = reason != Qt::MouseFocusReason;
    QAbstractButton::focusInEvent(event);
}

void SideRow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF ground = QRectF(rect()).adjusted(1, 1, -1, -1);
    if (isChecked() || (underMouse() && isEnabled())) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(isChecked() ? Theme::Colour::raised : Theme::Colour::card);
        painter.drawRoundedRect(ground, Theme::Radius::control, Theme::Radius::control);
    }
    if (hasFocus() && m_showsFocus) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(Theme::Colour::accentInk);
        painter.drawRoundedRect(ground, Theme::Radius::control, Theme::Radius::control);
    }

    constexpr int symbolEdge = 20;
    const QColor ink = isEnabled() ? Theme::Colour::text : Theme::Colour::faint;
    const QRectF symbol(8, (height() - symbolEdge) / 2.0, symbolEdge, symbolEdge);
    painter.drawPixmap(symbol.toRect(),
        Symbol::pixmap(m_symbol, isChecked() ? Theme::Colour::accentInk : ink, symbolEdge,
            devicePixelRatioF()));
    QFont font = Theme::font(Theme::Type::body);
    if (isChecked() && m_caption.isEmpty())
        font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(ink);
    const QRectF title(symbol.right() + 8, 0, width() - symbol.right() - 12, height());
    const QFont captionFont = Theme::font(Theme::Type::caption);
    const double captionRoom =
        m_caption.isEmpty() ? 0 : QFontMetricsF(captionFont).horizontalAdvance(m_caption) + 6;
    const QString shown =
        QFontMetricsF(font).elidedText(text(), Qt::ElideRight, title.width() - captionRoom);
    QRectF drawn;
    painter.drawText(title, Qt::AlignVCenter | Qt::AlignLeft, shown, &drawn);
    painter.setFont(captionFont);
    painter.setPen(isEnabled() ? Theme::Colour::secondary : Theme::Colour::faint);
    painter.drawText(
        title.adjusted(drawn.width() + 6, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft, m_caption);
}

SideList::SideList(const QString& name, QWidget* parent)
    : QWidget(parent)
    , m_layout(new QVBoxLayout(this))
{
    setAccessibleName(name);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(2);
    m_layout->addStretch();
}

SideRow* SideList::addRow(const QString& title, const QString& symbol)
{
    auto* row = new SideRow(title, symbol);
    const int index = static_cast<int>(m_rows.size());
    m_layout->insertWidget(index, row);
    m_rows.append(row);
    row->installEventFilter(this);
    connect(row, &QAbstractButton::clicked, this, [this, row, index] {
        row->setChecked(!row->isChecked()); // the one who listens decides
        emit chosen(index);
    });
    return row;
}

void SideList::clear()
{
    for (SideRow* row : std::as_const(m_rows)) {
        row->hide();
        row->deleteLater();
    }
    m_rows.clear();
}

void SideList::setCurrent(int index)
{
    for (qsizetype i = 0; i < m_rows.size(); ++i)
        m_rows[i]->setChecked(i == index);
}

bool SideList::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return false;
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key != Qt::Key_Up && key != Qt::Key_Down)
        return false;
    const qsizetype step = key == Qt::Key_Down ? 1 : -1;
    for (qsizetype at = m_rows.indexOf(static_cast<SideRow*>(watched)) + step;
         at >= 0 && at < m_rows.size(); at += step) {
        if (m_rows[at]->isEnabled()) {
            m_rows[at]->setFocus(Qt::OtherFocusReason);
            break;
        }
    }
    return true;
}
