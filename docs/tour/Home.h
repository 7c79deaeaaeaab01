#pragma once

#include <QString>
#include <QTemporaryDir>

/// A user's home for the tour: applications good and bad, an identity for rehearsals.
class Home {
public:
    /// Becomes this process's home.
    Home();

    QString file(const QString& name) const { return m_folder.filePath(name); }
    QString state() const { return file(QStringLiteral(".local/share/vandor-dmg")); }
    /// The sample application.
    QString good() const { return file(QStringLiteral("Hello Vandor.app")); }
    /// The same without a program that can be read, and with a pipe that can't be copied.
    QString bad() const { return file(QStringLiteral("Broken.app")); }
    /// No image, whatever its name.
    QString badImage() const { return file(QStringLiteral("Broken.dmg")); }

private:
    QTemporaryDir m_folder;
};
