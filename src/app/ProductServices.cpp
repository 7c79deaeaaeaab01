#include "app/ProductServices.h"

#include "model/SettingsManager.h"
#include "platform/Clock.h"

#include <QDirIterator>
#include <QLocale>

using namespace Qt::StringLiterals;

namespace {

/// Bytes of all files below `folder`, links not followed.
qint64 bytesIn(const QString& folder)
{
    qint64 bytes = 0;
    QDirIterator files(
        folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (files.hasNext())
        bytes += files.nextFileInfo().size();
    return bytes;
}

} // namespace

ProductServices::ProductServices(Setting setting)
    : m_setting(std::move(setting))
    , m_session(m_setting.temporaryFolder)
    , m_tools(m_setting.root)
    , m_shell(m_tools)
    , m_scripts(m_tools)
    , m_icons(m_setting.root)
    , m_fileIcons(m_icons)
    , m_keychain(m_tools)
    , m_inspector(m_shell)
    , m_notary(m_shell, m_setting.clock)
{ }

WizardHost ProductServices::wizardHost(std::function<void()> openSettings)
{
    const QString workFolder = m_session.workFolder();
    return {
        BuildHost{m_setting.root, m_tools, m_setting.clock, m_scripts, m_icons, m_setting.settings,
            workFolder, nullptr},
        signingHost(),
        NotarizationHost{m_notary, m_shell, m_setting.defaults, workFolder},
        AssetHost{m_setting.defaults, m_bookmarks, ApplicationResources()},
        m_keychain,
        m_inspector,
        m_fileIcons,
        std::move(openSettings),
    };
}

QCoro::Task<QString> ProductServices::clearCache()
{
    const QString folder = QFileInfo(m_session.path()).path();
    const QString temporaryFolder = m_setting.temporaryFolder;
    const qint64 before = bytesIn(folder);
    co_await SessionFolder::sweepLeftovers(temporaryFolder);
    const qint64 freed = before - bytesIn(folder);
    if (freed <= 0)
        co_return u"Nothing was left over."_s;
    co_return u"Freed %1."_s.arg(QLocale().formattedDataSize(freed));
}
