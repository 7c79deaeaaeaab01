#pragma once

#include <QWidget>

/// A control with its name close above it and, where one is needed, a hint close below, so that
/// what belongs together stands together.
class Field : public QWidget {
    Q_OBJECT
public:
    Field(
        const QString& name, QWidget* control, const QString& hint = {}, QWidget* parent = nullptr);
    /// Controls side by side under one name.
    Field(const QString& name, QLayout* controls, const QString& hint = {},
        QWidget* parent = nullptr);
};
