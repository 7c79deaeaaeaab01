#pragma once

#include <QString>

#include <exception>

/// What can end a build, besides the host's own failures (PlatformError), which pass through.
/// `text` is what the tool or the script said; empty where the case has none.
class DMGError : public std::exception {
public:
    enum class Case {
        conversionFailed, // every hdiutil run but attaching
        mountingFailed,
        scriptFailed,
        volumeEjectionFailed,
        missingConfig,
        sourceAppMissing,
        cleanupFailed,
    };

    explicit DMGError(Case which, QString text = {});

    Case which() const { return m_case; }
    const QString& text() const { return m_text; }
    /// What the user reads.
    QString description() const;
    const char* what() const noexcept override { return m_what.constData(); }

private:
    Case m_case;
    QString m_text;
    QByteArray m_what; // the description in UTF-8
};
