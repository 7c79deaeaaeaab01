#pragma once

#include <QFrame>

class QVBoxLayout;

/// A titled group of controls on a raised ground.
class Card : public QFrame {
    Q_OBJECT
public:
    /// Without a title or a caption there is none.
    explicit Card(
        const QString& title = {}, const QString& caption = {}, QWidget* parent = nullptr);

    /// Puts something below what is there.
    void add(QWidget* widget);
    void add(QLayout* layout);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QVBoxLayout* m_content;
};
