#pragma once

#include <QWidget>

#include <functional>

class QUrl;
class QWindow;

/// Somebody at the windows: sees what is shown, and acts by mouse, keyboard and drops alone. What
/// is looked for and isn't there fails the test that asked.
class WindowUser {
public:
    /// Looks at all of the program's visible windows.
    WindowUser() = default;

    /// The visible control of that accessible name, or else of that text; waited for.
    QWidget* control(const QString& name) const;
    /// Presses a button, a row or a segment in its middle.
    void click(const QString& name) const;
    /// Replaces what a field holds, key by key.
    void type(const QString& name, const QString& text) const;
    void typeInto(QWidget* field, const QString& text) const;
    void press(QWidget* target, Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const;
    /// A key of the keyboard: it goes to what has the focus.
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const;
    void keys(const QString& text) const;
    /// Presses Tab, or Shift and Tab, until the control of that name has the focus.
    void tabTo(const QString& name, Qt::KeyboardModifiers modifiers = {}) const;
    /// Drags a file over the control and lets it go there.
    void drop(const QString& name, const QString& file) const;
    void dropOn(QWidget* target, const QString& file) const;

    /// A visible label, badge or log holds `text`.
    bool sees(const QString& text) const;
    /// Turns the main loop until it holds; false after a minute.
    static bool waitUntil(const std::function<bool()>& holds);
    bool waitToSee(const QString& text) const;
    /// All texts in view, for a failure's message.
    QString everythingInView() const;

private:
    static QList<QWidget*> visibleWidgets();
    static QWindow* windowWithFocus();
    static QWidget* find(const QString& name);
};
