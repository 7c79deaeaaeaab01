#pragma once

#include "cli/SessionFolder.h"
#include "notarization/NotaryService.h"
#include "notarization/PreFlightInspector.h"
#include "platform/Bookmarks.h"
#include "platform/FileIcons.h"
#include "platform/HostIconService.h"
#include "platform/HostToolRunner.h"
#include "platform/OsaScriptRunner.h"
#include "process/ShellRunner.h"
#include "signing/SecurityToolKeychain.h"
#include "wizard/WizardHost.h"

#include <QString>

#include <atomic>
#include <memory>

class UserDefaults;

/// Everything that the windows' managers work with, made once for the whole program. Builds mount
/// their volumes in this run's own folder, so that whatever happens to it none stays behind.
class ProductServices {
public:
    /// What differs between the product and a test of it. Borrowed services outlive this object.
    struct Setting {
        SystemRoot root;
        UserDefaults& defaults;
        SettingsManager& settings;
        Clock& clock;
        QString temporaryFolder;
    };
    explicit ProductServices(Setting setting);
    /// Removes this run's own folder.
    ~ProductServices();
    ProductServices(const ProductServices&) = delete;
    ProductServices& operator=(const ProductServices&) = delete;

    WizardHost wizardHost(std::function<void()> openSettings);
    SettingsManager& settings() { return m_setting.settings; }
    ToolRunner& tools() { return m_tools; }
    SigningHost signingHost() { return {m_tools, m_shell, m_setting.defaults}; }
    /// Removes the folders of runs that are no more and tells what that freed.
    QCoro::Task<QString> clearCache();

private:
    void interruptTools();

    Setting m_setting;
    SessionFolder m_session;
    HostToolRunner m_tools;
    SystemRoot m_buildRoot;
    HostToolRunner m_buildTools;
    std::shared_ptr<std::atomic<bool>> m_stopCopies = std::make_shared<std::atomic<bool>>(false);
    ShellRunner m_shell;
    OsaScriptRunner m_scripts;
    HostIconService m_icons;
    FileIcons m_fileIcons;
    SecurityToolKeychain m_keychain;
    PreFlightInspector m_inspector;
    NotaryService m_notary;
    HostBookmarks m_bookmarks;
};
