#pragma once

#include "views/Card.h"
#include "views/Labels.h"

/// A titled group of rows of the settings.
class SettingsCard : public Card {
    Q_OBJECT
public:
    using Card::Card;
};

/// One row of content: what it is about on the left, the control on the right.
class SettingsRow : public QWidget {
    Q_OBJECT
public:
    /// `symbol` may be empty.
    SettingsRow(const QString& title, QWidget* control, const QString& symbol = {},
        QWidget* parent = nullptr);
};

/// A line between two rows.
class DividerRow : public QWidget {
    Q_OBJECT
public:
    explicit DividerRow(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

class QLineEdit;

/// A text field with its name above it and, where there are such, an example in it and a hint
/// below.
QLineEdit* addField(
    SettingsCard& card, const QString& name, const QString& placeholder, const QString& hint = {});
