#pragma once

#include <QList>
#include <QPointer>
#include <QWidget>

class QPushButton;
class QVBoxLayout;

/// A panel over a window that has to be dealt with first. It darkens what lies beneath, keeps the
/// keyboard to itself and goes with Escape. Owned by the window; deletes itself when dismissed.
class Sheet : public QWidget {
    Q_OBJECT
public:
    /// Covers the window that `over` is in. `name` is what a screen reader calls it.
    Sheet(const QString& name, QWidget* over);

    /// Content, from top to bottom.
    void add(QWidget* widget, Qt::Alignment alignment = {});
    void add(QLayout* layout);
    void addSpace(int points);

    void present();
    /// The open sheets of a window, the topmost last; where there are any, they have the keys.
    static QList<Sheet*> openIn(const QWidget* window);
    /// Who gets the focus afterwards if who had it before is not in view any more.
    void leaveFocusTo(QWidget* widget);
    void dismiss();

signals:
    /// The user wants it gone, by Escape.
    void escaped();
    void dismissed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    void paintEvent(QPaintEvent* event) override;

private:
    /// What Return means: the last one.
    QPushButton* mainButton() const;

    QWidget* m_panel;
    QVBoxLayout* m_content;
    QPointer<QWidget> m_focusBefore;
};

/// A sheet that says one thing, with a button to take note of it.
void showAlert(QWidget* over, const QString& title, const QString& message);
