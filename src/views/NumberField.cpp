#include "views/NumberField.h"

#include <QLocale>

#include <cmath>
#include <utility>

NumberField::NumberField(const QString& name, Kind kind, QWidget* parent)
    : QLineEdit(parent)
    , m_kind(kind)
{
    setAccessibleName(name);
    setAlignment(Qt::AlignRight);
    setMinimumWidth(64);
    setMaximumWidth(110);
    setText(textOf(0));
    connect(this, &QLineEdit::textEdited, this, &NumberField::follow);
    connect(this, &QLineEdit::editingFinished, this, &NumberField::settle);
}

void NumberField::setRange(double first, double last)
{
    m_first = first;
    m_last = last;
}

void NumberField::setNumber(double number)
{
    if (number != m_number)
        m_numberBefore.reset(); // somebody else's, which the user's typing doesn't bring back
    m_number = number;
    const bool isBeingTyped = hasFocus() && isModified();
    if (!isBeingTyped)
        setText(textOf(number));
}

std::optional<double> NumberField::inRange(double value) const
{
    return value >= m_first && value <= m_last ? std::optional(value) : std::nullopt;
}

std::optional<double> NumberField::typedNumber() const
{
    bool isNumber = false;
    if (m_kind == Kind::integer) {
        const qlonglong whole = locale().toLongLong(text().trimmed(), &isNumber);
        return isNumber ? inRange(static_cast<double>(whole)) : std::nullopt;
    }
    const double value = locale().toDouble(text().trimmed(), &isNumber);
    return isNumber ? inRange(value) : std::nullopt;
}

void NumberField::follow()
{
    m_numberBefore = m_numberBefore.value_or(m_number);
    const std::optional<double> typed = typedNumber();
    if (!typed || *typed == m_number)
        return;
    m_number = *typed;
    emit numberEdited(m_number);
}

/// Who empties a field digit by digit has not meant the digits that were left.
void NumberField::settle()
{
    const std::optional<double> before = std::exchange(m_numberBefore, std::nullopt);
    if (before && !typedNumber() && *before != m_number) {
        m_number = *before;
        emit numberEdited(m_number);
    }
    setText(textOf(m_number));
    setModified(false);
}

QString NumberField::textOf(double number) const
{
    QLocale plain = locale();
    plain.setNumberOptions(QLocale::OmitGroupSeparator);
    constexpr double largestWhole = 1e15;
    if (std::abs(number) < largestWhole
        && (m_kind == Kind::integer || number == std::floor(number)))
        return plain.toString(qRound64(number));
    return plain.toString(number, 'g', QLocale::FloatingPointShortest);
}
