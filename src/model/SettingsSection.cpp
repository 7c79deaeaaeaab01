#include "model/SettingsSection.h"

#include <QLatin1String>

namespace {

struct Title {
    SettingsSection section;
    QLatin1String title;
};

constexpr Title titles[] = {
    {SettingsSection::signing, QLatin1String("Signing")},
    {SettingsSection::notarization, QLatin1String("Notarization")},
    {SettingsSection::workflow, QLatin1String("Workflow")},
    {SettingsSection::build, QLatin1String("Build")},
    {SettingsSection::environment, QLatin1String("Environment")},
    {SettingsSection::about, QLatin1String("About")},
};

} // namespace

QString rawValue(SettingsSection section)
{
    return titles[static_cast<size_t>(section)].title;
}

std::optional<SettingsSection> settingsSectionFromRawValue(const QString& text)
{
    for (const Title& row : titles) {
        if (text == row.title)
            return row.section;
    }
    return std::nullopt;
}
