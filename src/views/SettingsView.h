#pragma once

#include "model/SettingsSection.h"
#include "views/PreferencePages.h"

#include <QWidget>

class QScrollArea;
class SideList;
class SigningManager;
class ToolRunner;

/// The settings: a list of sections, and the page of the active one.
class SettingsView : public QWidget {
    Q_OBJECT
public:
    /// What the pages work with. Borrowed services outlive this widget.
    struct Host {
        SettingsManager& settings;
        SigningManager& signing; // the settings' own
        ToolRunner& tools;
        EnvironmentSettingsPage::ClearCache clearCache;
    };
    explicit SettingsView(Host host, QWidget* parent = nullptr);

private:
    void refresh();
    QWidget* makePage(SettingsSection section) const;
    QWidget* makeDetail(SettingsSection section) const;

    Host m_host;
    SideList* m_sections;
    QScrollArea* m_detail;
    std::optional<SettingsSection> m_shown;
};
