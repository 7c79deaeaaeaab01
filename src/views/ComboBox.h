#pragma once

#include <QComboBox>

/// A combo box with an arrow in the theme's own line.
class ComboBox : public QComboBox {
    Q_OBJECT
public:
    using QComboBox::QComboBox;

protected:
    void paintEvent(QPaintEvent* event) override;
};
