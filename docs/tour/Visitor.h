#pragma once

#include <QString>
#include <QStringList>

#include <functional>

class QWidget;

/// Walks through the windows and takes their pictures.
class Visitor {
public:
    explicit Visitor(QString folder);

    /// Turns the main loop until `done`; false after two minutes.
    static bool turnUntil(const std::function<bool()>& done);
    static void turnFor(int milliseconds);
    /// Turns the main loop and acts as soon as something in view says so, before anything else
    /// happens; false when it never does.
    static bool atFirstSight(const QString& text, const std::function<void()>& act);

    /// Writes FOLDER/NAME.png as the window is now.
    void take(QWidget& window, const QString& name);
    /// Presses the visible button of that accessible name or text.
    static void press(const QString& name);
    /// Replaces what the visible field of that accessible name holds.
    static void type(const QString& name, const QString& text);
    /// Confirms the file dialog that is open, or opens within two minutes, with a path.
    static void confirmFile(const QString& path);
    /// Whether something in view says so.
    static bool sees(const QString& text);

    /// What went wrong on the way, one line each.
    static QStringList& faults();

private:
    QString m_folder;
};
