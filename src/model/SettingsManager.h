#pragma once

#include "model/SettingsSection.h"

#include <QObject>

#include <functional>
#include <optional>

class UserDefaults;

/// The user's preferences by name. Each is read from its key when asked and written through when
/// assigned; a key that was never written reads as the default. Main thread only.
class SettingsManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString defaultOutputDirectory READ defaultOutputDirectory WRITE
            setDefaultOutputDirectory NOTIFY defaultOutputDirectoryChanged)
    Q_PROPERTY(bool skipAppValidation READ skipAppValidation WRITE setSkipAppValidation NOTIFY
            skipAppValidationChanged)
    Q_PROPERTY(QString namingTemplate READ namingTemplate WRITE setNamingTemplate NOTIFY
            namingTemplateChanged)
    Q_PROPERTY(QString defaultCompression READ defaultCompression WRITE setDefaultCompression NOTIFY
            defaultCompressionChanged)
    Q_PROPERTY(double defaultWindowWidth READ defaultWindowWidth WRITE setDefaultWindowWidth NOTIFY
            defaultWindowWidthChanged)
    Q_PROPERTY(double defaultWindowHeight READ defaultWindowHeight WRITE setDefaultWindowHeight
            NOTIFY defaultWindowHeightChanged)
    Q_PROPERTY(qint64 totalBuilds READ totalBuilds WRITE setTotalBuilds NOTIFY totalBuildsChanged)
    Q_PROPERTY(
        QString notaryAppleID READ notaryAppleID WRITE setNotaryAppleID NOTIFY notaryAppleIDChanged)
    Q_PROPERTY(
        QString notaryTeamID READ notaryTeamID WRITE setNotaryTeamID NOTIFY notaryTeamIDChanged)
    Q_PROPERTY(QString notaryProfileName READ notaryProfileName WRITE setNotaryProfileName NOTIFY
            notaryProfileNameChanged)
public:
    /// `defaults` outlives this object.
    explicit SettingsManager(UserDefaults& defaults);
    /// The one over the application's own domain, made on first use, never destroyed.
    static SettingsManager& shared();

    QString defaultOutputDirectory() const; // a path or empty
    bool skipAppValidation() const;
    QString namingTemplate() const;
    QString defaultCompression() const; // a disk-image format code, not checked here
    double defaultWindowWidth() const; // points
    double defaultWindowHeight() const;
    qint64 totalBuilds() const; // successful ones
    QString notaryAppleID() const;
    QString notaryTeamID() const;
    QString notaryProfileName() const; // of the keychain profile

    void setDefaultOutputDirectory(const QString& path);
    void setSkipAppValidation(bool skip);
    void setNamingTemplate(const QString& text);
    void setDefaultCompression(const QString& code);
    void setDefaultWindowWidth(double points);
    void setDefaultWindowHeight(double points);
    void setTotalBuilds(qint64 count);
    void setNotaryAppleID(const QString& account);
    void setNotaryTeamID(const QString& identifier);
    void setNotaryProfileName(const QString& name);

    /// The page that the settings window shows; not kept beyond this process.
    std::optional<SettingsSection> activeSection() const { return m_activeSection; }
    void setActiveSection(std::optional<SettingsSection> section);

    /// How the settings window is opened, once there is something that can. Replaces an earlier
    /// one; an empty one takes it back.
    void setOpenSettingsAction(std::function<void()> action);
    /// Selects the page, then runs the action or, without one, asks whoever listens to
    /// `showSettingsWindow`.
    void openSettings(SettingsSection section);

signals:
    void activeSectionChanged();
    void defaultOutputDirectoryChanged();
    void skipAppValidationChanged();
    void namingTemplateChanged();
    void defaultCompressionChanged();
    void defaultWindowWidthChanged();
    void defaultWindowHeightChanged();
    void totalBuildsChanged();
    void notaryAppleIDChanged();
    void notaryTeamIDChanged();
    void notaryProfileNameChanged();
    void showSettingsWindow();

private:
    UserDefaults& m_defaults;
    std::optional<SettingsSection> m_activeSection = SettingsSection::signing;
    std::function<void()> m_openSettingsAction;
};
