#pragma once

#include <QFrame>
#include <QList>

class QButtonGroup;

/// A few choices side by side, of which one is taken. Arrow keys go from one to the next.
class SegmentedPicker : public QFrame {
    Q_OBJECT
public:
    /// `name` is what a screen reader calls it.
    SegmentedPicker(const QString& name, const QStringList& choices, QWidget* parent = nullptr);

    /// -1 when none is taken.
    int current() const;
    void setCurrent(int index);

signals:
    /// The user has taken a choice.
    void chosen(int index);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QButtonGroup* m_group;
};
