#include "views/SegmentedPicker.h"

#include "views/Theme.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QPainter>
#include <QPushButton>

SegmentedPicker::SegmentedPicker(const QString& name, const QStringList& choices, QWidget* parent)
    : QFrame(parent)
    , m_group(new QButtonGroup(this))
{
    setAccessibleName(name);
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(3, 3, 3, 3);
    layout->setSpacing(2);
    for (qsizetype i = 0; i < choices.size(); ++i) {
        auto* button = new QPushButton(choices[i]);
        button->setProperty("kind", QStringLiteral("segment"));
        button->setCheckable(true);
        button->setAutoDefault(false);
        m_group->addButton(button, static_cast<int>(i));
        layout->addWidget(button);
    }
    connect(m_group, &QButtonGroup::idClicked, this, &SegmentedPicker::chosen);
}

int SegmentedPicker::current() const
{
    return m_group->checkedId();
}

void SegmentedPicker::setCurrent(int index)
{
    if (QAbstractButton* button = m_group->button(index)) {
        button->setChecked(true);
    } else if (QAbstractButton* checked = m_group->checkedButton()) {
        m_group->setExclusive(false);
        checked->setChecked(false);
        m_group->setExclusive(true);
    }
}

void SegmentedPicker::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Theme::Colour::border);
    painter.setBrush(Theme::Colour::field);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5),
        Theme::Radius::control + 2, Theme::Radius::control + 2);
}
