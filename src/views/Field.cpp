#include "views/Field.h"

#include "views/Labels.h"

#include <QVBoxLayout>

namespace {

QLayout* alone(QWidget* control)
{
    auto* column = new QVBoxLayout; // which leaves narrow controls at the left
    column->addWidget(control);
    return column;
}

} // namespace

Field::Field(const QString& name, QWidget* control, const QString& hint, QWidget* parent)
    : Field(name, alone(control), hint, parent)
{ }

Field::Field(const QString& name, QLayout* controls, const QString& hint, QWidget* parent)
    : QWidget(parent)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Theme::Space::tight + 2);
    layout->addWidget(makeLabel(name, Theme::Type::caption, Theme::Colour::secondary));
    layout->addLayout(controls);
    if (!hint.isEmpty())
        layout->addWidget(new HelperText(hint));
}
