#pragma once

#include <QLineEdit>

#include <limits>
#include <optional>

/// A field for one number. What the user types counts at once, as soon as it is a number; what is
/// none when the field is left gives way to the number there was.
class NumberField : public QLineEdit {
    Q_OBJECT
public:
    enum class Kind { integer, real };

    /// `name` is what a screen reader calls it.
    NumberField(const QString& name, Kind kind, QWidget* parent = nullptr);

    /// What is outside of it is no number here; any is, at first.
    void setRange(double first, double last);
    double number() const { return m_number; }
    /// Shows a number, rounded in a field for integers; what the user is typing stays until the
    /// field is left.
    void setNumber(double number);

signals:
    /// The user has given another number.
    void numberEdited(double number);

private:
    std::optional<double> typedNumber() const;
    std::optional<double> inRange(double value) const;
    void follow();
    void settle();
    QString textOf(double number) const;

    Kind m_kind;
    double m_first = std::numeric_limits<double>::lowest();
    double m_last = std::numeric_limits<double>::max();
    double m_number = 0;
    std::optional<double> m_numberBefore; // while the user types
};
