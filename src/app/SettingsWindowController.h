#pragma once

#include "views/SettingsView.h"

#include <QObject>
#include <QPointer>
#include <QSettings>

/// Shows the settings in a window of their own: one at a time, where the user last left it.
class SettingsWindowController : public QObject {
    Q_OBJECT
public:
    /// The window's frame is kept in `stateFile`.
    SettingsWindowController(SettingsView::Host host, QString stateFile, QObject* parent = nullptr);
    /// The window goes with it.
    ~SettingsWindowController() override;

    /// On a later turn of the main loop: brings the window to the front, or makes it.
    void openSettingsWindow();
    QWidget* window() const { return m_window; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void show();
    void restoreFrame();
    void saveFrame() const;

    SettingsView::Host m_host;
    QString m_stateFile;
    QPointer<QWidget> m_window;
};
