#include "views/Card.h"

#include "views/Labels.h"
#include "views/Theme.h"

#include <QPainter>
#include <QVBoxLayout>

Card::Card(const QString& title, const QString& caption, QWidget* parent)
    : QFrame(parent)
    , m_content(new QVBoxLayout(this))
{
    m_content->setContentsMargins(
        Theme::Space::large, Theme::Space::large - 4, Theme::Space::large, Theme::Space::large - 2);
    m_content->setSpacing(Theme::Space::medium);
    if (title.isEmpty() && caption.isEmpty())
        return;
    auto* heading = new QVBoxLayout;
    heading->setSpacing(Theme::Space::tight);
    if (!title.isEmpty()) {
        setAccessibleName(title);
        heading->addWidget(makeLabel(title, Theme::Type::headline));
    }
    if (!caption.isEmpty())
        heading->addWidget(new HelperText(caption));
    m_content->addLayout(heading);
}

void Card::add(QWidget* widget)
{
    m_content->addWidget(widget);
}

void Card::add(QLayout* layout)
{
    m_content->addLayout(layout);
}

void Card::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Theme::Colour::border);
    painter.setBrush(Theme::Colour::card);
    painter.drawRoundedRect(
        QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), Theme::Radius::card, Theme::Radius::card);
}
