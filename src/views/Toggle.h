#pragma once

#include <QAbstractButton>
#include <QVariantAnimation>

/// A switch that is on or off.
class Toggle : public QAbstractButton {
    Q_OBJECT
public:
    /// `name` is what a screen reader calls it.
    explicit Toggle(const QString& name, QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void glide(bool on);

    QVariantAnimation m_glide;
    double m_place = 0; // of the knob: 0 off, 1 on
};
