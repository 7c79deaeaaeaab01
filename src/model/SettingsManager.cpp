#include "model/SettingsManager.h"

#include "platform/UserDefaults.h"

#include <utility>

namespace {

/// A persistent preference: where it is kept and what it reads as before it was written.
template <class Value>
struct Preference {
    QLatin1String key;
    Value standard;
};
using TextPreference = Preference<QLatin1String>;

constexpr struct {
    TextPreference outputDirectory{QLatin1String("default_output_dir"), QLatin1String("")};
    Preference<bool> skipAppValidation{QLatin1String("skip_app_validation"), false};
    TextPreference namingTemplate{
        QLatin1String("naming_template"), QLatin1String("${APP_NAME}_${VERSION}.dmg")};
    TextPreference compression{QLatin1String("default_compression"), QLatin1String("UDZO")};
    Preference<double> windowWidth{QLatin1String("default_window_width"), 600.0};
    Preference<double> windowHeight{QLatin1String("default_window_height"), 400.0};
    Preference<qint64> totalBuilds{QLatin1String("total_builds_count"), 0};
    TextPreference notaryAppleID{QLatin1String("notary_apple_id"), QLatin1String("")};
    TextPreference notaryTeamID{QLatin1String("notary_team_id"), QLatin1String("")};
    TextPreference notaryProfileName{
        QLatin1String("notary_profile_name"), QLatin1String("VandorDMG-Profile")};
} preferences;

QString read(const UserDefaults& defaults, const TextPreference& preference)
{
    return defaults.string(preference.key).value_or(preference.standard);
}

bool read(const UserDefaults& defaults, const Preference<bool>& preference)
{
    return defaults.boolean(preference.key).value_or(preference.standard);
}

double read(const UserDefaults& defaults, const Preference<double>& preference)
{
    return defaults.real(preference.key).value_or(preference.standard);
}

qint64 read(const UserDefaults& defaults, const Preference<qint64>& preference)
{
    return defaults.integer(preference.key).value_or(preference.standard);
}

/// Writes the key whatever it reads as now; true when that changed what is read.
template <class Kept, class Value>
bool assign(UserDefaults& defaults, const Preference<Kept>& preference, const Value& value)
{
    const auto before = read(defaults, preference);
    defaults.set(preference.key, value);
    return read(defaults, preference) != before;
}

} // namespace

SettingsManager::SettingsManager(UserDefaults& defaults)
    : m_defaults(defaults)
{ }

SettingsManager& SettingsManager::shared()
{
    static auto* const instance = new SettingsManager(UserDefaults::standard());
    return *instance;
}

QString SettingsManager::defaultOutputDirectory() const
{
    return read(m_defaults, preferences.outputDirectory);
}

bool SettingsManager::skipAppValidation() const
{
    return read(m_defaults, preferences.skipAppValidation);
}

QString SettingsManager::namingTemplate() const
{
    return read(m_defaults, preferences.namingTemplate);
}

QString SettingsManager::defaultCompression() const
{
    return read(m_defaults, preferences.compression);
}

double SettingsManager::defaultWindowWidth() const
{
    return read(m_defaults, preferences.windowWidth);
}

double SettingsManager::defaultWindowHeight() const
{
    return read(m_defaults, preferences.windowHeight);
}

qint64 SettingsManager::totalBuilds() const
{
    return read(m_defaults, preferences.totalBuilds);
}

QString SettingsManager::notaryAppleID() const
{
    return read(m_defaults, preferences.notaryAppleID);
}

QString SettingsManager::notaryTeamID() const
{
    return read(m_defaults, preferences.notaryTeamID);
}

QString SettingsManager::notaryProfileName() const
{
    return read(m_defaults, preferences.notaryProfileName);
}

void SettingsManager::setDefaultOutputDirectory(const QString& path)
{
    if (assign(m_defaults, preferences.outputDirectory, path))
        emit defaultOutputDirectoryChanged();
}

void SettingsManager::setSkipAppValidation(bool skip)
{
    if (assign(m_defaults, preferences.skipAppValidation, skip))
        emit skipAppValidationChanged();
}

void SettingsManager::setNamingTemplate(const QString& text)
{
    if (assign(m_defaults, preferences.namingTemplate, text))
        emit namingTemplateChanged();
}

void SettingsManager::setDefaultCompression(const QString& code)
{
    if (assign(m_defaults, preferences.compression, code))
        emit defaultCompressionChanged();
}

void SettingsManager::setDefaultWindowWidth(double points)
{
    if (assign(m_defaults, preferences.windowWidth, points))
        emit defaultWindowWidthChanged();
}

void SettingsManager::setDefaultWindowHeight(double points)
{
    if (assign(m_defaults, preferences.windowHeight, points))
        emit defaultWindowHeightChanged();
}

void SettingsManager::setTotalBuilds(qint64 count)
{
    if (assign(m_defaults, preferences.totalBuilds, count))
        emit totalBuildsChanged();
}

void SettingsManager::setNotaryAppleID(const QString& account)
{
    if (assign(m_defaults, preferences.notaryAppleID, account))
        emit notaryAppleIDChanged();
}

void SettingsManager::setNotaryTeamID(const QString& identifier)
{
    if (assign(m_defaults, preferences.notaryTeamID, identifier))
        emit notaryTeamIDChanged();
}

void SettingsManager::setNotaryProfileName(const QString& name)
{
    if (assign(m_defaults, preferences.notaryProfileName, name))
        emit notaryProfileNameChanged();
}

void SettingsManager::setActiveSection(std::optional<SettingsSection> section)
{
    if (section == m_activeSection)
        return;
    m_activeSection = section;
    emit activeSectionChanged();
}

void SettingsManager::setOpenSettingsAction(std::function<void()> action)
{
    m_openSettingsAction = std::move(action);
}

void SettingsManager::openSettings(SettingsSection section)
{
    setActiveSection(section);
    // A copy, since the action may register another one.
    if (const std::function<void()> action = m_openSettingsAction)
        action();
    else
        emit showSettingsWindow();
}
