#include "app/ProductServices.h"

#include "model/SettingsManager.h"
#include "platform/Clock.h"
#include "platform/PlatformError.h"
#include "platform/TreeRemoval.h"

#include <QLocale>

using namespace Qt::StringLiterals;

ProductServices::ProductServices(Setting setting)
    : m_setting(std::move(setting))
    , m_session(m_setting.temporaryFolder)
    , m_tools(m_setting.root)
    , m_buildRoot(m_setting.root.withState(m_session.stateFolder()))
    , m_buildTools(m_buildRoot)
    , m_shell(m_tools)
    , m_scripts(m_buildTools)
    , m_icons(m_buildRoot)
    , m_fileIcons(m_icons)
    , m_keychain(m_tools)
    , m_inspector(m_shell)
    , m_notary(m_shell, m_setting.clock)
{ }

WizardHost ProductServices::wizardHost(std::function<void()> openSettings)
{
    const QString workFolder = m_session.workFolder();
    return {
        BuildHost{m_buildRoot, m_buildTools, m_setting.clock, m_scripts, m_icons,
            m_setting.settings, workFolder, m_stopCopies},
        signingHost(),
        NotarizationHost{m_notary, m_shell, m_setting.defaults, workFolder},
        AssetHost{m_setting.defaults, m_bookmarks, ApplicationResources()},
        m_keychain,
        m_inspector,
        m_fileIcons,
        std::move(openSettings),
        [this] { interruptTools(); },
    };
}

void ProductServices::interruptTools()
{
    *m_stopCopies = true;
    m_buildTools.interrupt();
    m_tools.interrupt();
}

ProductServices::~ProductServices()
{
    try {
        TreeRemoval::run(m_session.path());
    } catch (const PlatformError&) {
        // The next run takes it away.
    }
}

QCoro::Task<QString> ProductServices::clearCache()
{
    const QString temporaryFolder = m_setting.temporaryFolder;
    const qint64 freed = co_await SessionFolder::sweepLeftovers(temporaryFolder);
    if (freed <= 0)
        co_return u"Nothing was left over."_s;
    co_return u"Freed %1."_s.arg(QLocale().formattedDataSize(freed));
}
