#pragma once

#include <QString>

#include <array>
#include <optional>

/// The pages of the settings window.
enum class SettingsSection { signing, notarization, workflow, build, environment, about };

/// In the order in which the window lists them.
inline constexpr std::array allSettingsSections{SettingsSection::signing,
    SettingsSection::notarization, SettingsSection::workflow, SettingsSection::build,
    SettingsSection::environment, SettingsSection::about};

/// The page's title, which is also its identity.
QString rawValue(SettingsSection section);
/// The section of exactly this title.
std::optional<SettingsSection> settingsSectionFromRawValue(const QString& text);
