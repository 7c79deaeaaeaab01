#pragma once

#include "Visitor.h"

#include "app/MainWindow.h"
#include "app/ProductServices.h"
#include "app/SettingsWindowController.h"
#include "model/SettingsManager.h"
#include "platform/UserDefaults.h"
#include "signing/SigningManager.h"
#include "wizard/NavigationStep.h"

class Home;

/// All steps empty, then one job in which everything goes wrong, then one that ends well, then the
/// settings.
class Tour {
public:
    /// `size` is the wizard's window's, in points.
    Tour(const Home& home, const QString& folder, const QSize& size);

    void run();

private:
    void show(NavigationStep step);
    /// A picture of a step; `state` is "empty", "filled", "running", "failed" or "finished".
    void take(NavigationStep step, const QString& state);
    void choose(const QString& application, const QString& background);
    void chooseImage(const QString& image);
    void chooseIdentity();
    /// Presses, takes a picture of the work, waits for words at its end, and takes another. Without
    /// a button the work runs already.
    void work(NavigationStep step, const QString& button, const QString& end, const QString& state);

    void emptySteps();
    void dragging(NavigationStep step, const QString& file);
    void failures();
    void wholeWay();
    void asking();
    void closing();
    void settings();
    void takeSettings(SettingsSection section, const QString& state = {});
    /// What the settings' pages say after their buttons.
    void results();

    const Home& m_home;
    Visitor m_visitor;
    UserDefaults m_defaults;
    SettingsManager m_settings;
    ProductServices m_services;
    SigningManager m_settingsSigning;
    SettingsWindowController m_settingsWindow;
    MainWindow m_window;
};
