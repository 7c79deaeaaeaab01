#include "model/ConfigWrapper.h"

#include "platform/MainQueue.h"

#include <QPointer>

ConfigWrapper::ConfigWrapper(const SettingsManager& settings, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_config(DMGConfig::newJob(settings))
{ }

void ConfigWrapper::setConfig(const DMGConfig& config)
{
    if (config == m_config)
        return;
    const bool otherApp = config.appURL != m_config.appURL;
    const bool otherBackground = config.backgroundURL != m_config.backgroundURL;
    m_config = config;
    emit configChanged();
    if (otherApp)
        emit appURLChanged();
    if (otherBackground)
        emit backgroundURLChanged();
}

void ConfigWrapper::reset()
{
    setConfig(DMGConfig::newJob(m_settings));
}

void ConfigWrapper::edit(const std::function<void(DMGConfig&)>& change)
{
    DMGConfig config = m_config;
    change(config);
    setConfig(config);
}

void ConfigWrapper::editLater(std::function<void(DMGConfig&)> change)
{
    MainQueue::post([wrapper = QPointer(this), job = m_config.id, change = std::move(change)] {
        if (wrapper && wrapper->m_config.id == job)
            wrapper->edit(change);
    });
}
