#include "views/SettingsBlocks.h"

#include "views/Field.h"
#include "views/Symbol.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPainter>

SettingsRow::SettingsRow(
    const QString& title, QWidget* control, const QString& symbol, QWidget* parent)
    : QWidget(parent)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Theme::Space::medium);
    if (!symbol.isEmpty())
        layout->addWidget(new SymbolLabel(symbol, Theme::Colour::secondary, 20));
    QLabel* label = makeLabel(title, Theme::Type::body);
    label->setWordWrap(true);
    layout->addWidget(label, 1);
    layout->addWidget(control);
}

DividerRow::DividerRow(QWidget* parent)
    : QWidget(parent)
{
    setFixedHeight(1);
}

void DividerRow::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(rect(), Theme::Colour::border);
}

QLineEdit* addField(
    SettingsCard& card, const QString& name, const QString& placeholder, const QString& hint)
{
    auto* field = new QLineEdit;
    field->setAccessibleName(name);
    field->setPlaceholderText(placeholder);
    card.add(new Field(name, field, hint));
    return field;
}
