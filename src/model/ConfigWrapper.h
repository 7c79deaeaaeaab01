#pragma once

#include "model/DMGConfig.h"

#include <QObject>

#include <functional>

/// The one job of a wizard run, shared by all its screens. Main thread only.
class ConfigWrapper : public QObject {
    Q_OBJECT
public:
    /// Holds a fresh job. `settings` outlives this object.
    explicit ConfigWrapper(const SettingsManager& settings, QObject* parent = nullptr);

    const DMGConfig& config() const { return m_config; }
    void setConfig(const DMGConfig& config);
    /// Puts a fresh job in the place of this one.
    void reset();

    /// Reads the job, lets `change` work on it and writes it back.
    void edit(const std::function<void(DMGConfig&)>& change);
    /// The same on a later turn of the main loop; whoever reads in this turn sees the job as it
    /// was.
    void editLater(std::function<void(DMGConfig&)> change);

signals:
    void configChanged();
    void appURLChanged();
    void backgroundURLChanged();

private:
    const SettingsManager& m_settings;
    DMGConfig m_config;
};
